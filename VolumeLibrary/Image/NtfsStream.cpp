#include "NtfsStream.h"

#include "Little.h"

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
        stream->bytes = part.value.copy();
    stream->extents.size = part.size;
    stream->extents.initialised = part.initialised;
    return part.size <= kLargestFile;
}

bool TakePart(const NtfsMft &mft, const NtfsAttribute &part, NtfsStream *stream)
{
    if (part.firstCluster == 0 && !TakeFirstPart(part, stream))
        return false;
    if (part.isResident != stream->isResident)
        return false;
    return part.isResident ||
           AppendRuns(part.value, part.firstCluster, mft.Geometry(), &stream->extents.runs);
}

// An entry of the list that says which record holds which attribute.
struct ListEntry {
    NtfsType type = NtfsType::kData;
    bitlocker::ByteView name;
    uint64_t firstCluster = 0;
    NtfsReference record = 0;
};

// Takes the first entry off the list; false at its end.
bool TakeEntry(bitlocker::ByteView *list, ListEntry *entry)
{
    constexpr size_t kHeaderBytes = 26;
    if (list->size < kHeaderBytes)
        return false;
    const uint8_t *at = list->data;
    const size_t length = Little16(at + 4);
    const size_t nameBytes = size_t{2} * at[6];
    if (length < kHeaderBytes || length > list->size || at[7] + nameBytes > length)
        return false;
    entry->type = static_cast<NtfsType>(Little32(at));
    entry->name = {at + at[7], nameBytes};
    entry->firstCluster = Little64(at + 8);
    entry->record = Little64(at + 16);
    *list = list->from(length);
    return true;
}

bool IsNamed(const ListEntry &entry, std::u16string_view name)
{
    if (entry.name.size != 2 * name.size())
        return false;
    for (size_t i = 0; i < name.size(); ++i) {
        if (Little16(entry.name.data + 2 * i) != name[i])
            return false;
    }
    return true;
}

std::optional<std::vector<uint8_t>>
ReadList(const NtfsMft &mft, const bitlocker::ByteSource &volume, const NtfsAttribute &list)
{
    NtfsStream stream;
    if (list.size > kLargestList || !TakePart(mft, list, &stream))
        return std::nullopt;
    if (stream.isResident)
        return std::move(stream.bytes);
    std::vector<uint8_t> bytes(static_cast<size_t>(stream.extents.size));
    uint32_t done = 0;
    if (!ReadExtents(volume, stream.extents, 0, reinterpret_cast<char *>(bytes.data()),
                     static_cast<uint32_t>(bytes.size()), &done))
        return std::nullopt;
    return bytes;
}

// Another record of the file, which holds the part that the entry speaks of.
std::optional<NtfsRecord> LoadPart(const NtfsMft &mft, uint64_t number, const ListEntry &entry)
{
    auto record = mft.Load(entry.record);
    const bool belongs = record && NtfsNumber(record->Base()) == number;
    return belongs ? std::move(record) : std::nullopt;
}

std::optional<NtfsIndexName> LongNameIn(const NtfsRecord &record)
{
    for (size_t others = 0;; ++others) {
        const auto attribute = record.Find(NtfsType::kFileName, {}, 0, others);
        if (!attribute)
            return std::nullopt;
        auto name = NtfsIndexName::Parse(attribute->value);
        if (attribute->isResident && name && !name->isShortName)
            return name;
    }
}

// Adds the part that the entry speaks of.
bool TakeListed(const NtfsMft &mft, const NtfsRecord &file, uint64_t number, const ListEntry &entry,
                std::u16string_view name, NtfsStream *stream)
{
    const bool isHere = NtfsNumber(entry.record) == number;
    const auto other = isHere ? std::nullopt : LoadPart(mft, number, entry);
    if (!isHere && !other)
        return false;
    const auto part = (isHere ? file : *other).Find(entry.type, name, entry.firstCluster);
    return part && TakePart(mft, *part, stream);
}

}  // namespace

NtfsFound FindStream(const NtfsMft &mft, const bitlocker::ByteSource &volume,
                     const NtfsRecord &file, uint64_t number, NtfsType type,
                     std::u16string_view name, NtfsStream *stream)
{
    const auto list = file.Find(NtfsType::kAttributeList, {});
    if (!list) {
        const auto only = file.Find(type, name);
        if (!only)
            return NtfsFound::kNo;
        return TakePart(mft, *only, stream) ? NtfsFound::kYes : NtfsFound::kDamaged;
    }
    const auto bytes = ReadList(mft, volume, *list);
    if (!bytes)
        return NtfsFound::kDamaged;
    bitlocker::ByteView left(*bytes);
    ListEntry entry;
    NtfsFound found = NtfsFound::kNo;
    while (TakeEntry(&left, &entry)) {
        if (entry.type != type || !IsNamed(entry, name))
            continue;
        if (found == NtfsFound::kNo && entry.firstCluster != 0)
            return NtfsFound::kDamaged;
        if (!TakeListed(mft, file, number, entry, name, stream))
            return NtfsFound::kDamaged;
        found = NtfsFound::kYes;
    }
    return found;
}

std::optional<NtfsIndexName> FindOwnName(const NtfsMft &mft, const bitlocker::ByteSource &volume,
                                         const NtfsRecord &file, uint64_t number)
{
    if (auto name = LongNameIn(file))
        return name;
    const auto list = file.Find(NtfsType::kAttributeList, {});
    const auto bytes = list ? ReadList(mft, volume, *list) : std::nullopt;
    if (!bytes)
        return std::nullopt;
    bitlocker::ByteView left(*bytes);
    ListEntry entry;
    while (TakeEntry(&left, &entry)) {
        const bool isOfOther =
            entry.type == NtfsType::kFileName && NtfsNumber(entry.record) != number;
        const auto record = isOfOther ? LoadPart(mft, number, entry) : std::nullopt;
        auto name = record ? LongNameIn(*record) : std::nullopt;
        if (name)
            return name;
    }
    return std::nullopt;
}

uint64_t StreamSize(const NtfsMft &mft, const bitlocker::ByteSource &volume, const NtfsRecord &file,
                    uint64_t number, NtfsType type)
{
    if (const auto first = file.Find(type, {}))
        return first->size;
    const auto list = file.Find(NtfsType::kAttributeList, {});
    const auto bytes = list ? ReadList(mft, volume, *list) : std::nullopt;
    if (!bytes)
        return 0;
    bitlocker::ByteView left(*bytes);
    ListEntry entry;
    while (TakeEntry(&left, &entry)) {
        if (entry.type != type || !IsNamed(entry, {}) || entry.firstCluster != 0)
            continue;
        const auto record = LoadPart(mft, number, entry);
        const auto first = record ? record->Find(type, {}) : std::nullopt;
        return first ? first->size : 0;
    }
    return 0;
}

}  // namespace vx
