#include "FatFileSystem.h"

#include "ExfatFolder.h"

#include <algorithm>

namespace vx {
namespace {

// The largest folders that the formats allow.
constexpr uint64_t kLargestFatFolder = uint64_t{2} << 20;
constexpr uint64_t kLargestExfatFolder = uint64_t{256} << 20;
constexpr size_t kMediaAt = 21;
constexpr uint8_t kExfatMedia = 0xF8;

bool HasGoodTable(const bitlocker::ByteSource &volume, const FatGeometry &geometry,
                  const FatChain &chain)
{
    uint8_t media = kExfatMedia;
    if (geometry.kind != FatGeometry::Kind::kExfat && volume.readAt(kMediaAt, &media, 1))
        return false;
    return chain.IsTableGood(media);
}

}  // namespace

FatFileSystem::FatFileSystem(std::shared_ptr<const bitlocker::ByteSource> volume,
                             const FatGeometry &geometry)
    : _volume(volume), _geometry(geometry), _tables(std::move(volume)), _chain(_tables, geometry)
{
}

OpenError FatFileSystem::Open(const std::shared_ptr<const bitlocker::ByteSource> &volume,
                              std::unique_ptr<FileSystem> *fileSystem)
{
    FatGeometry geometry;
    if (OpenError error = ReadFatGeometry(*volume, &geometry))
        return error;
    std::unique_ptr<FatFileSystem> opened(new FatFileSystem(volume, geometry));
    if (!HasGoodTable(*volume, geometry, opened->_chain))
        return {VolumeLibraryStatus::kFileSystemDamaged, "its allocation table is damaged"};
    *fileSystem = std::move(opened);
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

std::optional<std::vector<Extent>> FatFileSystem::RunsOfFolder(const Node &folder) const
{
    const FatNode node = FatNode::Unpack(folder);
    const bool isExfat = _geometry.kind == FatGeometry::Kind::kExfat;
    if (IsRoot(folder) && _geometry.rootCluster == 0)
        return std::vector<Extent>{
            {0, _geometry.rootBytes, _geometry.rootOffset, Extent::Kind::kStored}};
    if (!isExfat || IsRoot(folder))
        return _chain.FollowToEnd(node.firstCluster,
                                  isExfat ? kLargestExfatFolder : kLargestFatFolder);
    if (node.size > kLargestExfatFolder)
        return std::nullopt;
    return node.isContiguous ? _chain.Contiguous(node.firstCluster, node.size)
                             : _chain.Follow(node.firstCluster, node.size);
}

bool FatFileSystem::Claim(const Way &way, const std::vector<Extent> &runs) const
{
    std::vector<FatFolderOwners::Piece> pieces;
    for (const Extent &run : runs) {
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

std::unique_ptr<FolderReader> FatFileSystem::OpenFolder(const Node &folder, const Way &way) const
{
    if (!FatNode::Unpack(folder).isFolder)
        return nullptr;
    auto runs = RunsOfFolder(folder);
    if (!runs || runs->size() > kMostRunsOfTables || !Claim(way, *runs))
        return nullptr;
    FolderBytes bytes(_tables, std::move(*runs));
    if (_geometry.kind == FatGeometry::Kind::kExfat)
        return std::make_unique<ExfatFolder>(std::move(bytes));
    return std::make_unique<FatFolder>(std::move(bytes));
}

std::unique_ptr<VolumeFile> FatFileSystem::OpenFile(const Node &file) const
{
    const FatNode node = FatNode::Unpack(file);
    if (node.isFolder)
        return nullptr;
    auto runs = node.isContiguous ? _chain.Contiguous(node.firstCluster, node.size)
                                  : _chain.Follow(node.firstCluster, node.size);
    if (!runs)
        return nullptr;
    return std::make_unique<ExtentFile>(
        _volume, FileExtents{node.size, std::min(node.written, node.size), std::move(*runs)});
}

}  // namespace vx
