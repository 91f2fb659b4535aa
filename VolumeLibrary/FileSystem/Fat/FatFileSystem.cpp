#include "FatFileSystem.h"

#include "ExfatFolder.h"
#include "FatBoot.h"
#include "FatSummary.h"

#include <algorithm>

namespace vx {
namespace {

// The largest folders that the formats allow.
constexpr uint64_t kLargestFatFolder = uint64_t{2} << 20;
constexpr uint64_t kLargestExfatFolder = uint64_t{256} << 20;

}  // namespace

FatFileSystem::FatFileSystem(std::shared_ptr<const ByteSource> volume, const FatGeometry &geometry)
    : _volume(volume), _geometry(geometry), _tables(std::move(volume)), _chain(_tables, geometry)
{
}

Result<std::unique_ptr<FileSystem>>
FatFileSystem::Open(const std::shared_ptr<const ByteSource> &volume,
                    std::vector<std::string> *notes)
{
    auto boot = FindFatBoot(*volume);
    if (!boot)
        return boot.Failure();
    std::unique_ptr<FatFileSystem> opened(new FatFileSystem(volume, boot->geometry));
    std::vector<std::string> found;
    if (!boot->note.empty())
        found.push_back(std::move(boot->note));
    if (Error error = opened->CheckTable(&found))
        return error;
    notes->insert(notes->end(), found.begin(), found.end());
    return std::unique_ptr<FileSystem>(std::move(opened));
}

// That of exFAT is not needed for most files, and nothing else looks like exFAT.
Error FatFileSystem::CheckTable(std::vector<std::string> *notes) const
{
    if (_chain.IsTableGood(0))
        return {};
    for (unsigned copy = 1; copy < _geometry.tableCopies; ++copy) {
        if (_chain.IsTableGood(copy)) {
            notes->emplace_back("its first allocation table is damaged; the copy of it is used");
            return {};
        }
    }
    if (_geometry.kind != FatGeometry::Kind::kExfat)
        return {Status::kDamagedFileSystem, "its allocation table is damaged"};
    notes->emplace_back("its allocation table is damaged; files in pieces may be incomplete");
    return {};
}

Node FatFileSystem::Root() const
{
    FatNode root;
    root.firstCluster = _geometry.rootCluster;
    root.isFolder = true;
    return root.Pack();
}

bool FatFileSystem::IsRoot(const Node &folder) const
{
    const Node root = Root();
    return folder.place == root.place && folder.size == root.size;
}

uint64_t FatFileSystem::SizeOf(const FatNode &file) const
{
    return std::min(file.size, _geometry.MostBytes());
}

FatRuns FatFileSystem::RunsOfFile(const FatNode &file) const
{
    FatRuns found = file.isContiguous ? _chain.Contiguous(file.firstCluster, SizeOf(file))
                                      : _chain.Follow(file.firstCluster, SizeOf(file));
    if (file.size > SizeOf(file))
        found.obstacle = VolumeObstacle::kDamaged;
    return found;
}

FatRuns FatFileSystem::RunsOfFolder(const Node &folder) const
{
    const FatNode node = FatNode::Unpack(folder);
    const bool isExfat = _geometry.kind == FatGeometry::Kind::kExfat;
    if (IsRoot(folder) && _geometry.rootCluster == 0)
        return {{{0, _geometry.rootBytes, _geometry.rootOffset, FileRun::Kind::kStored}}};
    FatRuns found;
    if (!isExfat || IsRoot(folder))
        found = _chain.FollowToEnd(node.firstCluster,
                                   isExfat ? kLargestExfatFolder : kLargestFatFolder);
    else if (node.size <= kLargestExfatFolder)
        found = RunsOfFile(node);
    else
        return {{}, VolumeObstacle::kDamaged};
    if (found.runs.size() > kMostRunsOfTables) {
        found.runs.resize(kMostRunsOfTables);
        found.obstacle = VolumeObstacle::kOutOfMemory;
    }
    return found;
}

bool FatFileSystem::Claim(const Way &way, const std::vector<FileRun> &runs) const
{
    std::vector<FatFolderOwners::Piece> pieces;
    for (const FileRun &run : runs) {
        // The root of FAT12 and FAT16 lies before all clusters: in one that does not exist.
        if (run.offset < _geometry.clustersOffset) {
            pieces.push_back({0, 1});
            continue;
        }
        const auto first =
            static_cast<uint32_t>((run.offset - _geometry.clustersOffset) / _geometry.clusterBytes);
        const auto count = static_cast<uint32_t>(run.length / _geometry.clusterBytes);
        pieces.push_back({first + 1, first + 1 + count});
    }
    return _owners.Claim(way, pieces);
}

// What shows that a root has lost its entries. Found once, and searched for in the table only if
// there is no trace of an entry in the root: no label and no deleted file either.
VolumeObstacle FatFileSystem::ObstacleOfRoot(const FatRuns &runs) const
{
    const MutexLock lock(_mutex);
    if (_obstacleOfRoot)
        return *_obstacleOfRoot;
    _obstacleOfRoot = VolumeObstacle::kNone;
    uint8_t first = 0;
    if (_tables.ReadAt(runs.runs.front().offset, &first, 1) || first != 0)
        return *_obstacleOfRoot;
    const auto hasOthers = _chain.HasOthersThan(runs.runs);
    if (!hasOthers)
        _obstacleOfRoot = VolumeObstacle::kUnreadable;
    else if (*hasOthers)
        _obstacleOfRoot = VolumeObstacle::kDamaged;
    return *_obstacleOfRoot;
}

std::unique_ptr<FolderReader> FatFileSystem::OpenFolder(const Node &folder, const Way &way) const
{
    if (!FatNode::Unpack(folder).isFolder)
        return nullptr;
    FatRuns found = RunsOfFolder(folder);
    const bool isLost = found.runs.empty() && found.obstacle != VolumeObstacle::kNone;
    if (isLost || !Claim(way, found.runs))
        return nullptr;
    const bool isRoot = IsRoot(folder);
    const bool isExfat = _geometry.kind == FatGeometry::Kind::kExfat;
    const auto obstacle = isRoot && !isExfat ? ObstacleOfRoot(found) : VolumeObstacle::kNone;
    FolderBytes bytes(_tables, std::move(found));
    if (obstacle != VolumeObstacle::kNone)
        bytes.Damage().Note(obstacle);
    if (isExfat)
        return std::make_unique<ExfatFolder>(std::move(bytes), _geometry.MostBytes(), isRoot);
    return std::make_unique<FatFolder>(std::move(bytes), _geometry, isRoot);
}

std::unique_ptr<VolumeFile> FatFileSystem::OpenFile(const Node &file) const
{
    const FatNode node = FatNode::Unpack(file);
    if (node.isFolder)
        return nullptr;
    FatRuns found = RunsOfFile(node);
    const uint64_t size = SizeOf(node);
    if (found.runs.empty() && size > 0)
        return nullptr;
    return std::make_unique<ExtentFile>(
        _volume, FileExtents{size, std::min(node.written, size), std::move(found.runs)});
}

void FatFileSystem::Describe(const Node &node, VolumeEntryReport *report) const
{
    const FatNode unpacked = FatNode::Unpack(node);
    report->obstacle = (unpacked.isFolder ? RunsOfFolder(node) : RunsOfFile(unpacked)).obstacle;
    if (report->obstacle == VolumeObstacle::kNone && unpacked.isDoubtful)
        report->obstacle = VolumeObstacle::kDamaged;
}

void FatFileSystem::DescribeWhole(VolumeFileSystemReport *report) const
{
    SummariseFat(*_volume, _tables, _geometry, _chain, report);
}

}  // namespace vx
