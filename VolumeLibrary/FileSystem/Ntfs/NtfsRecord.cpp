#include "NtfsRecord.h"

#include "Little.h"

#include <cstring>
#include <utility>

namespace vx {
namespace {

constexpr size_t kSequenceAt = 16;
constexpr size_t kAttributesAt = 20;
constexpr size_t kFlagsAt = 22;
constexpr size_t kBaseAt = 32;
constexpr size_t kHeaderBytes = 48;
constexpr uint16_t kInUse = 1;
constexpr uint16_t kFolder = 2;

constexpr size_t kResidentBytes = 24;
constexpr size_t kRunsBytes = 64;
constexpr uint32_t kEnd = 0xFFFFFFFF;

bool SameName(ByteView units, std::u16string_view name)
{
    if (units.size != 2 * name.size())
        return false;
    if (units.data == nullptr)
        return name.empty();
    for (size_t i = 0; i < name.size(); ++i) {
        if (Little16(units.data + 2 * i) != name[i])
            return false;
    }
    return true;
}

// Part of an attribute, or nothing if it does not lie inside.
std::optional<ByteView> Part(ByteView whole, size_t offset, size_t size)
{
    if (offset > whole.size || size > whole.size - offset)
        return std::nullopt;
    return whole.From(offset).First(size);
}

bool TakeResident(ByteView bytes, NtfsAttribute *attribute)
{
    const auto value = Part(bytes, Little16(bytes.data + 20), Little32(bytes.data + 16));
    if (!value)
        return false;
    attribute->isResident = true;
    attribute->value = *value;
    attribute->size = value->size;
    return true;
}

bool TakeRuns(ByteView bytes, NtfsAttribute *attribute)
{
    const size_t offset = Little16(bytes.data + 32);
    if (bytes.size < kRunsBytes || offset < kRunsBytes || offset > bytes.size)
        return false;
    attribute->value = bytes.From(offset);
    attribute->firstCluster = Little64(bytes.data + 16);
    attribute->compressionShift = Little16(bytes.data + 34);
    attribute->size = Little64(bytes.data + 48);
    attribute->initialised = Little64(bytes.data + 56);
    return true;
}

}  // namespace

NtfsRecord::NtfsRecord(std::vector<uint8_t> bytes) : _bytes(std::move(bytes)) {}

std::optional<NtfsRecord> NtfsRecord::Parse(std::vector<uint8_t> bytes)
{
    if (bytes.size() < kHeaderBytes || std::memcmp(bytes.data(), "FILE", 4) != 0 ||
        (Little16(bytes.data() + kFlagsAt) & kInUse) == 0)
        return std::nullopt;
    return NtfsRecord(std::move(bytes));
}

uint16_t NtfsRecord::Sequence() const
{
    return Little16(_bytes.data() + kSequenceAt);
}

bool NtfsRecord::IsFolder() const
{
    return (Little16(_bytes.data() + kFlagsAt) & kFolder) != 0;
}

NtfsReference NtfsRecord::Base() const
{
    return Little64(_bytes.data() + kBaseAt);
}

size_t NtfsRecord::FirstOffset() const
{
    return Little16(_bytes.data() + kAttributesAt);
}

// 0 after the last attribute, and where one does not lie in the record.
size_t NtfsRecord::LengthAt(size_t offset) const
{
    if (offset + kResidentBytes > _bytes.size() || Little32(_bytes.data() + offset) == kEnd)
        return 0;
    const size_t length = Little32(_bytes.data() + offset + 4);
    return length >= kResidentBytes && length <= _bytes.size() - offset ? length : 0;
}

bool NtfsRecord::IsWhole() const
{
    size_t offset = FirstOffset();
    while (const size_t length = LengthAt(offset)) {
        if (!AttributeAt(offset, length))
            return false;
        offset += length;
    }
    return offset + 4 <= _bytes.size() && Little32(_bytes.data() + offset) == kEnd;
}

std::optional<NtfsAttribute> NtfsRecord::Find(NtfsType type, std::u16string_view name,
                                              uint64_t firstCluster, size_t others) const
{
    size_t offset = FirstOffset();
    while (const size_t length = LengthAt(offset)) {
        if (Little32(_bytes.data() + offset) == static_cast<uint32_t>(type)) {
            auto attribute = AttributeAt(offset, length);
            if (attribute && SameName(attribute->name, name) &&
                attribute->firstCluster == firstCluster && others-- == 0)
                return attribute;
        }
        offset += length;
    }
    return std::nullopt;
}

std::optional<NtfsAttribute> NtfsRecord::AttributeAt(size_t offset, size_t length) const
{
    const ByteView bytes(_bytes.data() + offset, length);
    const auto name = Part(bytes, Little16(bytes.data + 10), size_t{2} * bytes.data[9]);
    if (!name)
        return std::nullopt;
    NtfsAttribute attribute;
    attribute.type = static_cast<NtfsType>(Little32(bytes.data));
    attribute.name = *name;
    attribute.flags = Little16(bytes.data + 12);
    const bool good =
        bytes.data[8] == 0 ? TakeResident(bytes, &attribute) : TakeRuns(bytes, &attribute);
    return good ? std::optional(attribute) : std::nullopt;
}

}  // namespace vx
