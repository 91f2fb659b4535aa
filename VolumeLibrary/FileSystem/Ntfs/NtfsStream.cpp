#include "NtfsStream.h"

#include "ByteReader.h"

#include <algorithm>
#include <limits>

namespace vx {
namespace {

constexpr uint64_t kLargestList = uint64_t{256} << 10;
constexpr uint64_t kLargestFile = std::numeric_limits<int64_t>::max();

bool TakeFirstPart(const NtfsAttribute &part, NtfsStream *stream)
{
    stream->flags = part.flags;
    stream->compressionShift = part.compressionShift;
    stream->isResident = part.isResident;
    if (part.isResident)
        stream->bytes = part.value.Copy();
    stream->extents.size = part.size;
    stream->extents.initialised = part.initialised;
    return part.size <= kLargestFile;
}

uint64_t EndOf(const std::vector<FileRun> &runs)
{
    return runs.empty() ? 0 : runs.back().position + runs.back().length;
}

// False for a part that contradicts the ones before it: then none of them can be trusted.
bool TakePart(const NtfsMft &mft, const NtfsAttribute &part, NtfsStream *stream)
{
    if (part.firstCluster == 0 && !TakeFirstPart(part, stream))
        return false;
    if (part.isResident != stream->isResident)
        return false;
    if (part.isResident)
        return true;
    std::vector<FileRun> &runs = stream->extents.runs;
    const uint64_t end = EndOf(runs);
    uint64_t begin = 0;
    if (__builtin_mul_overflow(part.firstCluster, uint64_t{mft.Geometry().clusterBytes}, &begin) ||
        begin < end)
        return false;
    if (!AppendRuns(part.value, part.firstCluster, mft.Geometry(), &runs))
        stream->NoteTrouble(VolumeObstacle::kDamaged);
    return true;
}

NtfsFound NothingFound(NtfsStream *stream)
{
    stream->extents = {};
    stream->NoteTrouble(VolumeObstacle::kDamaged);
    return NtfsFound::kDamaged;
}

// Of a file that says it is longer than its runs: what was written reads, and the rest is unknown,
// since one of its sizes is wrong.
void RemoveUnwritten(FileExtents *extents)
{
    std::vector<FileRun> written;
    for (FileRun run : extents->runs) {
        const uint64_t end = std::max(extents->initialised, run.position);
        run.length = std::min(run.length, end - run.position);
        if (run.length > 0)
            written.push_back(run);
    }
    extents->runs = std::move(written);
    extents->initialised = extents->size;
}

// Runs that end before the file does are what is left of a damaged list, or the size is damaged:
// holes and what was never written have runs, too.
NtfsFound Checked(NtfsStream *stream)
{
    FileExtents &extents = stream->extents;
    if (stream->isResident || extents.size == 0)
        return NtfsFound::kYes;
    if (extents.runs.empty())
        return NothingFound(stream);
    if (AreCovered(extents.runs, 0, extents.size))
        return NtfsFound::kYes;
    stream->NoteTrouble(VolumeObstacle::kDamaged);
    if (EndOf(extents.runs) < extents.size)
        RemoveUnwritten(&extents);
    return NtfsFound::kYes;
}

// An entry of the list that says which record holds which attribute.
struct ListEntry {
    NtfsType type = NtfsType::kData;
    ByteView name;
    uint64_t firstCluster = 0;
    NtfsReference record = 0;
};

// Takes the first entry off the list; nothing at its end.
std::optional<ListEntry> TakeEntry(ByteView *list)
{
    constexpr size_t kHeaderBytes = 26;
    ByteReader reader(*list);
    ListEntry entry;
    entry.type = static_cast<NtfsType>(reader.U32());
    const size_t length = reader.U16();
    const size_t nameBytes = size_t{2} * reader.U8();
    const size_t nameAt = reader.U8();
    entry.firstCluster = reader.U64();
    entry.record = reader.U64();
    reader.Skip(2);  // a number of the attribute
    if (!reader.Good() || length < kHeaderBytes || length > list->size ||
        nameAt + nameBytes > length)
        return std::nullopt;
    entry.name = list->From(nameAt).First(nameBytes);
    *list = list->From(length);
    return entry;
}

// Nothing if it cannot be read whole; trouble receives why.
std::optional<std::vector<uint8_t>> ReadList(const NtfsMft &mft, const ByteSource &volume,
                                             const NtfsAttribute &list, VolumeObstacle *trouble)
{
    NtfsStream stream;
    if (list.size > kLargestList || !TakePart(mft, list, &stream)) {
        *trouble = VolumeObstacle::kDamaged;
        return std::nullopt;
    }
    if (stream.isResident)
        return std::move(stream.bytes);
    auto bytes =
        ReadExtentBytes(volume, stream.extents, 0, static_cast<uint32_t>(stream.extents.size));
    if (!bytes)
        *trouble = VolumeObstacle::kUnreadable;
    return bytes;
}

// The same of the file's list; nothing, and no trouble, if it has none.
std::optional<std::vector<uint8_t>> ReadListOf(const NtfsMft &mft, const ByteSource &volume,
                                               const NtfsRecord &file, VolumeObstacle *trouble)
{
    *trouble = VolumeObstacle::kNone;
    const auto list = file.Find(NtfsType::kAttributeList, {});
    return list ? ReadList(mft, volume, *list, trouble) : std::nullopt;
}

// Another record of the file, which holds the part that the entry names.
std::optional<NtfsRecord> LoadPart(const NtfsMft &mft, uint64_t number, const ListEntry &entry,
                                   VolumeObstacle *trouble = nullptr)
{
    auto record = mft.Load(entry.record, trouble);
    const bool belongs = record && NtfsNumber(record->Base()) == number;
    return belongs ? std::move(record) : std::nullopt;
}

// False if no more names are wanted.
bool VisitNamesIn(const NtfsRecord &record, const std::function<bool(NtfsIndexName)> &visit)
{
    for (size_t others = 0;; ++others) {
        const auto attribute = record.Find(NtfsType::kFileName, {}, 0, others);
        if (!attribute)
            return true;
        auto name = NtfsIndexName::Parse(attribute->value);
        if (attribute->isResident && name && !name->isShortName && !visit(std::move(*name)))
            return false;
    }
}

// Adds the part that the entry names, or notes why it is missing. False as TakePart.
bool TakeListed(const NtfsMft &mft, const NtfsRecord &file, uint64_t number, const ListEntry &entry,
                std::u16string_view name, NtfsStream *stream)
{
    VolumeObstacle trouble = VolumeObstacle::kDamaged;
    const bool isHere = NtfsNumber(entry.record) == number;
    const auto other = isHere ? std::nullopt : LoadPart(mft, number, entry, &trouble);
    const NtfsRecord *record = isHere ? &file : other ? &*other : nullptr;
    const auto part =
        record != nullptr ? record->Find(entry.type, name, entry.firstCluster) : std::nullopt;
    if (part)
        return TakePart(mft, *part, stream);
    stream->NoteTrouble(trouble);
    return entry.firstCluster != 0;  // without the first part its size is not known
}

// The part that lies in the record which stands for the file.
NtfsFound FindInRecord(const NtfsMft &mft, const NtfsRecord &file, NtfsType type,
                       std::u16string_view name, NtfsStream *stream)
{
    const auto only = file.Find(type, name);
    if (only)
        return TakePart(mft, *only, stream) ? Checked(stream) : NothingFound(stream);
    if (!file.IsWhole())
        stream->NoteTrouble(VolumeObstacle::kDamaged);
    return stream->trouble == VolumeObstacle::kNone ? NtfsFound::kNo : NtfsFound::kDamaged;
}

NtfsFound FindByList(const NtfsMft &mft, const NtfsRecord &file, uint64_t number, ByteView list,
                     NtfsType type, std::u16string_view name, NtfsStream *stream)
{
    bool isThere = false;
    while (const auto entry = TakeEntry(&list)) {
        if (entry->type != type || !IsNtfsName(entry->name, name))
            continue;
        const bool isFirstMissing = !isThere && entry->firstCluster != 0;
        if (isFirstMissing || !TakeListed(mft, file, number, *entry, name, stream))
            return NothingFound(stream);
        isThere = true;
    }
    if (list.size > 0)
        stream->NoteTrouble(VolumeObstacle::kDamaged);
    if (isThere)
        return Checked(stream);
    return stream->trouble == VolumeObstacle::kNone ? NtfsFound::kNo : NtfsFound::kDamaged;
}

std::u16string UnitsOf(ByteView name)
{
    std::u16string units;
    for (size_t at = 0; at < name.size; at += 2)
        units.push_back(static_cast<char16_t>(U16At(name, at)));
    return units;
}

std::optional<uint64_t> SizeOfStream(const NtfsAttribute &first)
{
    return first.size <= kLargestFile ? std::optional(first.size) : std::nullopt;
}

// A record holds several streams, and the list names them one after the other.
bool VisitStreamsByList(const NtfsMft &mft, const NtfsRecord &file, uint64_t number, ByteView list,
                        const StreamNameVisitor &visit)
{
    NtfsReference loaded = ~NtfsReference{0};
    std::optional<NtfsRecord> other;
    while (const auto entry = TakeEntry(&list)) {
        if (entry->type != NtfsType::kData || entry->name.size == 0 || entry->firstCluster != 0)
            continue;
        const bool isHere = NtfsNumber(entry->record) == number;
        if (!isHere && loaded != entry->record) {
            other = LoadPart(mft, number, *entry);
            loaded = entry->record;
        }
        const NtfsRecord *record = isHere ? &file : other ? &*other : nullptr;
        const auto first =
            record != nullptr ? record->Find(NtfsType::kData, UnitsOf(entry->name)) : std::nullopt;
        visit(entry->name, first ? SizeOfStream(*first) : std::nullopt);
    }
    return list.size == 0;
}

}  // namespace

void NtfsStream::NoteTrouble(VolumeObstacle reason)
{
    if (trouble == VolumeObstacle::kNone)
        trouble = reason;
}

NtfsStream FindStream(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, NtfsType type, std::u16string_view name)
{
    NtfsStream stream;
    const auto list = ReadListOf(mft, volume, file, &stream.trouble);
    stream.found = list ? FindByList(mft, file, number, *list, type, name, &stream)
                        : FindInRecord(mft, file, type, name, &stream);
    return stream;
}

bool VisitLongNames(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                    uint64_t number, const std::function<bool(NtfsIndexName)> &visit)
{
    if (!VisitNamesIn(file, visit))
        return true;
    VolumeObstacle trouble;
    bool areAll = file.IsWhole();
    const auto list = ReadListOf(mft, volume, file, &trouble);
    ByteView left = list ? ByteView(*list) : ByteView();
    while (const auto entry = TakeEntry(&left)) {
        const bool isOfOther =
            entry->type == NtfsType::kFileName && NtfsNumber(entry->record) != number;
        const auto record = isOfOther ? LoadPart(mft, number, *entry) : std::nullopt;
        if (record && !VisitNamesIn(*record, visit))
            return true;
        areAll = areAll && (!isOfOther || (record && record->IsWhole()));
    }
    return areAll && trouble == VolumeObstacle::kNone && left.size == 0;
}

std::optional<NtfsIndexName> FindOwnName(const NtfsMft &mft, const ByteSource &volume,
                                         const NtfsRecord &file, uint64_t number)
{
    std::optional<NtfsIndexName> first;
    VisitLongNames(mft, volume, file, number, [&first](NtfsIndexName name) {
        first = std::move(name);
        return false;
    });
    return first;
}

bool VisitStreamNames(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, const StreamNameVisitor &visit)
{
    VolumeObstacle trouble;
    const auto list = ReadListOf(mft, volume, file, &trouble);
    if (list)
        return VisitStreamsByList(mft, file, number, *list, visit);
    file.Visit(NtfsType::kData, [&visit](const NtfsAttribute &data) {
        if (data.name.size > 0 && data.firstCluster == 0)
            visit(data.name, SizeOfStream(data));
    });
    return trouble == VolumeObstacle::kNone && file.IsWhole();
}

uint64_t StreamSize(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                    uint64_t number, NtfsType type)
{
    if (const auto first = file.Find(type, {}))
        return first->size;
    VolumeObstacle trouble;
    const auto list = ReadListOf(mft, volume, file, &trouble);
    ByteView left = list ? ByteView(*list) : ByteView();
    while (const auto entry = TakeEntry(&left)) {
        if (entry->type != type || entry->name.size > 0 || entry->firstCluster != 0)
            continue;
        const auto record = LoadPart(mft, number, *entry);
        const auto first = record ? record->Find(type, {}) : std::nullopt;
        return first ? first->size : 0;
    }
    return 0;
}

}  // namespace vx
