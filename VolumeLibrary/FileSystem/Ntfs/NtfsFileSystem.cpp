#include "NtfsFileSystem.h"

#include "NtfsCompressedFile.h"
#include "NtfsContents.h"
#include "NtfsFolder.h"
#include "NtfsSummary.h"
#include "ResidentFile.h"
#include "Wtf8.h"

#include <set>

namespace vx {
NtfsFileSystem::NtfsFileSystem(std::shared_ptr<const ByteSource> volume,
                               std::unique_ptr<NtfsMft> mft)
    : _volume(volume), _tables(volume), _mft(std::move(mft)), _parents(std::move(volume), *_mft)
{
}

Result<std::unique_ptr<FileSystem>> NtfsFileSystem::Open(std::shared_ptr<const ByteSource> volume,
                                                         std::vector<std::string> *notes)
{
    auto mft = NtfsMft::Open(volume, notes);
    if (!mft)
        return mft.Failure();
    return std::unique_ptr<FileSystem>(new NtfsFileSystem(std::move(volume), std::move(*mft)));
}

Node NtfsFileSystem::Root() const
{
    return {NtfsParents::kRoot, 0, 0};
}

// A folder itself knows its parent folder and its name.
bool NtfsFileSystem::IsWayTo(const Node &folder, const NtfsRecord &record, const Way &way) const
{
    if (NtfsNumber(folder.place) == NtfsParents::kRoot)
        return way == Way{};
    const auto own = FindOwnName(*_mft, _tables, record, NtfsNumber(folder.place));
    return own && NtfsNumber(own->parent) == NtfsNumber(way.parent) &&
           HashOfName(own->name) == way.name;
}

// Without its record a folder is listed by what the records of its files say.
std::unique_ptr<FolderReader> NtfsFileSystem::OpenFolder(const Node &folder, const Way &way) const
{
    const uint64_t number = NtfsNumber(folder.place);
    VolumeObstacle trouble = VolumeObstacle::kNone;
    const auto record = _mft->Load(folder.place, &trouble);
    if (record ? !IsListed(folder, *record, way) : !IsLostFolder(folder, way))
        return nullptr;
    const NtfsReference known = record ? uint64_t{record->Sequence()} << 48 | number : folder.place;
    auto reader = std::make_unique<NtfsFolder>(*_mft, _tables, _parents, known);
    reader->Begin(record ? &*record : nullptr, trouble);
    return reader;
}

// A number that another file has now is not that of a lost folder.
bool NtfsFileSystem::IsLostFolder(const Node &folder, const Way &way) const
{
    const uint64_t number = NtfsNumber(folder.place);
    if (number == NtfsParents::kRoot)
        return way == Way{};
    return folder.size == NtfsFolder::kIsFolder && !_mft->Load(number) &&
           _claims.Claim(number, way);
}

bool NtfsFileSystem::IsListed(const Node &folder, const NtfsRecord &record, const Way &way) const
{
    const uint64_t number = NtfsNumber(folder.place);
    return NtfsIndex::IsFolder(*_mft, _tables, record, number) && IsWayTo(folder, record, way) &&
           !NtfsReparsePoint::Read(*_mft, _tables, record, number).LeadsElsewhere();
}

std::unique_ptr<VolumeFile> NtfsFileSystem::OpenFile(const Node &file) const
{
    const uint64_t number = NtfsNumber(file.place);
    const auto record = _mft->Load(file.place);
    if (!record || NtfsIndex::IsFolder(*_mft, _tables, *record, number))
        return nullptr;
    const auto point = NtfsReparsePoint::Read(*_mft, _tables, *record, number);
    NtfsContents contents = FindContents(*_mft, _tables, *record, number, point);
    if (!contents.canOpen)
        return nullptr;
    auto opened = OpenData(std::move(contents.data));
    if (!opened || !contents.packing)
        return opened;
    return std::make_unique<WofFile>(std::move(opened), contents.size, *contents.packing);
}

void NtfsFileSystem::Describe(const Node &entry, VolumeEntryReport *report) const
{
    const uint64_t number = NtfsNumber(entry.place);
    const auto record = _mft->Load(entry.place, &report->obstacle);
    if (!record)
        return;
    const auto point = NtfsReparsePoint::Read(*_mft, _tables, *record, number);
    report->reparseTag = point.Tag();
    point.CopyTarget(report->target, VolumeEntryReport::kTargetUnits);
    if (!NtfsIndex::IsFolder(*_mft, _tables, *record, number))
        report->obstacle = FindContents(*_mft, _tables, *record, number, point).obstacle;
    else
        report->obstacle =
            point.LeadsElsewhere() ? VolumeObstacle::kLink : IndexTrouble(*record, number);
}

void NtfsFileSystem::DescribeWhole(VolumeFileSystemReport *report) const
{
    SummariseNtfs(*_volume, _tables, *_mft, report);
}

// A name occurs once in a sound file; a name with "/" or a zero could not be opened by it.
bool NtfsFileSystem::VisitStreams(const Node &entry, const StreamVisitor &visit) const
{
    constexpr std::string_view kNotInNames("/\0", 2);
    const uint64_t number = NtfsNumber(entry.place);
    const auto record = _mft->Load(entry.place);
    if (!record)
        return false;
    const bool isPacked =
        NtfsReparsePoint::Read(*_mft, _tables, *record, number).Packing().has_value();
    std::set<std::string> names;
    bool areAllNames = true;
    const auto take = [&](ByteView units, std::optional<uint64_t> size) {
        if (isPacked && IsNtfsName(units, kWofStreamName))
            return;
        const std::string name = Wtf8FromUtf16(units);
        if (name.find_first_of(kNotInNames) != name.npos)
            areAllNames = false;
        else if (names.insert(name).second)
            visit(name, size.value_or(kUnknownStreamSize));
    };
    return VisitStreamNames(*_mft, _tables, *record, number, take) && areAllNames;
}

std::unique_ptr<VolumeFile> NtfsFileSystem::OpenStream(const Node &entry,
                                                       const std::string &name) const
{
    const auto units = Utf16FromWtf8(name);
    const auto record = _mft->Load(entry.place);
    if (!record || !units || units->empty())
        return nullptr;
    NtfsStream stream =
        FindStream(*_mft, _tables, *record, NtfsNumber(entry.place), NtfsType::kData, *units);
    const bool isEncrypted = (stream.flags & NtfsAttribute::kEncrypted) != 0;
    return stream.found == NtfsFound::kYes && !isEncrypted ? OpenData(std::move(stream)) : nullptr;
}

// What its listing would begin with.
VolumeObstacle NtfsFileSystem::IndexTrouble(const NtfsRecord &folder, uint64_t number) const
{
    NtfsIndex index(*_mft, _tables);
    index.Begin(folder, number);
    return index.Trouble();
}

std::unique_ptr<VolumeFile> NtfsFileSystem::OpenData(NtfsStream stream) const
{
    if (stream.isResident)
        return std::make_unique<ResidentFile>(std::move(stream.bytes));
    if ((stream.flags & NtfsAttribute::kCompressed) == 0 || stream.compressionShift == 0)
        return std::make_unique<ExtentFile>(_volume, std::move(stream.extents));
    const uint64_t unit = stream.compressionShift > 20
                              ? 0
                              : uint64_t{_mft->Geometry().clusterBytes} << stream.compressionShift;
    if (unit == 0 || unit > NtfsCompressedFile::kLargestUnit)
        return nullptr;
    return std::make_unique<NtfsCompressedFile>(_volume, std::move(stream.extents),
                                                static_cast<uint32_t>(unit));
}

}  // namespace vx
