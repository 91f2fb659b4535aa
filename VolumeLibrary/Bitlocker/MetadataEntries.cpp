#include "MetadataEntries.h"

#include "ByteReader.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kHeaderSize = 8;

Error Damage(const std::string &detail)
{
    return {Status::kDamagedMetadata, detail};
}

// Where the nested array begins in a value's data, or 0 for a value without one.
size_t NestedArrayAt(ValueType type)
{
    switch (type) {
    case ValueType::kStretchKey:
        return 20;
    case ValueType::kUseKey:
        return 4;
    case ValueType::kProtector:
        return 28;
    case ValueType::kExternalKey:
        return 24;
    default:
        return 0;
    }
}

Error CheckNested(const MetadataEntry &entry, int depth)
{
    const size_t begin = NestedArrayAt(entry.valueType);
    if (entry.data.size < begin)
        return Damage("an entry is too short for its value");
    if (begin == 0 || entry.data.size == begin)
        return {};
    if (depth == kDeepestNesting)
        return Damage("entries are nested too deep");
    Result<std::vector<MetadataEntry>> nested = ParseEntries(entry.Nested(), depth + 1);
    return nested ? Error() : nested.Failure();
}

}  // namespace

ByteView MetadataEntry::Nested() const
{
    const size_t begin = NestedArrayAt(valueType);
    return begin == 0 ? ByteView() : data.From(begin);
}

Result<std::vector<MetadataEntry>> ParseEntries(ByteView bytes, int depth)
{
    std::vector<MetadataEntry> entries;
    while (bytes.size >= kHeaderSize) {
        ByteReader reader(bytes);
        const size_t size = reader.U16();
        if (size == 0)
            break;
        if (size < kHeaderSize || size > bytes.size)
            return Damage("an entry has the impossible size " + std::to_string(size));
        MetadataEntry entry;
        entry.type = static_cast<EntryType>(reader.U16());
        entry.valueType = static_cast<ValueType>(reader.U16());
        entry.data = bytes.First(size).From(kHeaderSize);
        if (Error error = CheckNested(entry, depth))
            return error;
        entries.push_back(entry);
        bytes = bytes.From(size);
    }
    return entries;
}

}  // namespace vx::bitlocker
