#include "MetadataEntries.h"

#include "ByteReader.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kHeaderSize = 8;

Error damage(const std::string &detail)
{
    return {Status::DamagedMetadata, detail};
}

// Where the nested array begins in a value's data, or 0 for a value without one.
size_t nestedArrayAt(ValueType type)
{
    switch (type) {
    case ValueType::StretchKey:
        return 20;
    case ValueType::UseKey:
        return 4;
    case ValueType::Protector:
        return 28;
    case ValueType::ExternalKey:
        return 24;
    default:
        return 0;
    }
}

Error checkNested(const MetadataEntry &entry, int depth)
{
    const size_t begin = nestedArrayAt(entry.valueType);
    if (entry.data.size < begin)
        return damage("an entry is too short for its value");
    if (begin == 0 || entry.data.size == begin)
        return {};
    if (depth == kDeepestNesting)
        return damage("entries are nested too deep");
    Result<std::vector<MetadataEntry>> nested = parseEntries(entry.nested(), depth + 1);
    return nested ? Error() : nested.error();
}

}  // namespace

ByteView MetadataEntry::nested() const
{
    const size_t begin = nestedArrayAt(valueType);
    return begin == 0 ? ByteView() : data.from(begin);
}

Result<std::vector<MetadataEntry>> parseEntries(ByteView bytes, int depth)
{
    std::vector<MetadataEntry> entries;
    while (bytes.size >= kHeaderSize) {
        ByteReader reader(bytes);
        const size_t size = reader.u16();
        if (size == 0)
            break;
        if (size < kHeaderSize || size > bytes.size)
            return damage("an entry has the impossible size " + std::to_string(size));
        MetadataEntry entry;
        entry.type = static_cast<EntryType>(reader.u16());
        entry.valueType = static_cast<ValueType>(reader.u16());
        entry.data = bytes.first(size).from(kHeaderSize);
        if (Error error = checkNested(entry, depth))
            return error;
        entries.push_back(entry);
        bytes = bytes.from(size);
    }
    return entries;
}

}  // namespace vx::bitlocker
