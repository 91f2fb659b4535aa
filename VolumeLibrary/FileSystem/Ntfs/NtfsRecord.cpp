#include "NtfsRecord.h"

#include "ByteReader.h"

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

// Part of an attribute, or nothing if it does not lie inside.
std::optional<ByteView> Part(ByteView whole, size_t offset, size_t size)
{
    if (!whole.Holds(offset, size))
        return std::nullopt;
    return whole.From(offset).First(size);
}

// These two complete an attribute by what follows the fields that all have. Nothing if it is
// damaged.
std::optional<NtfsAttribute> WithValue(NtfsAttribute attribute, ByteView bytes)
{
    const auto value = Part(bytes, U16At(bytes, 20), U32At(bytes, 16));
    if (!value)
        return std::nullopt;
    attribute.isResident = true;
    attribute.value = *value;
    attribute.size = value->size;
    return attribute;
}

std::optional<NtfsAttribute> WithRuns(NtfsAttribute attribute, ByteView bytes)
{
    ByteReader reader(bytes, 16);
    attribute.firstCluster = reader.U64();
    reader.Skip(8);  // the last cluster
    const size_t runsAt = reader.U16();
    attribute.compressionShift = reader.U16();
    reader.Skip(4 + 8);  // the allocated size among them
    attribute.size = reader.U64();
    attribute.initialised = reader.U64();
    if (!reader.Good() || runsAt < kRunsBytes || runsAt > bytes.size)
        return std::nullopt;
    attribute.value = bytes.From(runsAt);
    return attribute;
}

}  // namespace

bool ApplyNtfsFixups(std::vector<uint8_t> *bytes)
{
    constexpr size_t kStride = 512;
    const size_t offset = U16At(*bytes, 4);
    const size_t count = U16At(*bytes, 6);
    if (bytes->size() < kStride || count != bytes->size() / kStride + 1 ||
        offset + 2 * count > kStride - 2)
        return false;
    const uint8_t *kept = bytes->data() + offset;
    for (size_t i = 1; i < count; ++i) {
        uint8_t *end = bytes->data() + i * kStride - 2;
        if (std::memcmp(end, kept, 2) != 0)
            return false;
        std::memcpy(end, kept + 2 * i, 2);
    }
    return true;
}

bool IsNtfsName(ByteView stored, std::u16string_view name)
{
    if (stored.size != 2 * name.size())
        return false;
    for (size_t i = 0; i < name.size(); ++i) {
        if (U16At(stored, 2 * i) != name[i])
            return false;
    }
    return true;
}

NtfsRecord::NtfsRecord(std::vector<uint8_t> bytes) : _bytes(std::move(bytes)) {}

std::optional<NtfsRecord> NtfsRecord::Parse(std::vector<uint8_t> bytes)
{
    if (bytes.size() < kHeaderBytes || !HasTextAt(bytes, 0, "FILE") ||
        (U16At(bytes, kFlagsAt) & kInUse) == 0)
        return std::nullopt;
    return NtfsRecord(std::move(bytes));
}

uint16_t NtfsRecord::Sequence() const
{
    return U16At(_bytes, kSequenceAt);
}

bool NtfsRecord::IsFolder() const
{
    return (U16At(_bytes, kFlagsAt) & kFolder) != 0;
}

NtfsReference NtfsRecord::Base() const
{
    return U64At(_bytes, kBaseAt);
}

size_t NtfsRecord::FirstOffset() const
{
    return U16At(_bytes, kAttributesAt);
}

// 0 after the last attribute, and where one does not lie in the record.
size_t NtfsRecord::LengthAt(size_t offset) const
{
    const ByteView attribute = ByteView(_bytes).From(offset);
    if (attribute.size < kResidentBytes || U32At(attribute, 0) == kEnd)
        return 0;
    const size_t length = U32At(attribute, 4);
    return length >= kResidentBytes && length <= attribute.size ? length : 0;
}

bool NtfsRecord::IsWhole() const
{
    size_t offset = FirstOffset();
    while (const size_t length = LengthAt(offset)) {
        if (!AttributeAt(offset, length))
            return false;
        offset += length;
    }
    return U32At(_bytes, offset) == kEnd;
}

std::optional<NtfsAttribute> NtfsRecord::Find(NtfsType type, std::u16string_view name,
                                              uint64_t firstCluster, size_t others) const
{
    size_t offset = FirstOffset();
    while (const size_t length = LengthAt(offset)) {
        if (U32At(_bytes, offset) == static_cast<uint32_t>(type)) {
            auto attribute = AttributeAt(offset, length);
            if (attribute && IsNtfsName(attribute->name, name) &&
                attribute->firstCluster == firstCluster && others-- == 0)
                return attribute;
        }
        offset += length;
    }
    return std::nullopt;
}

void NtfsRecord::Visit(NtfsType type, const std::function<void(const NtfsAttribute &)> &visit) const
{
    size_t offset = FirstOffset();
    while (const size_t length = LengthAt(offset)) {
        const bool isWanted = U32At(_bytes, offset) == static_cast<uint32_t>(type);
        const auto attribute = isWanted ? AttributeAt(offset, length) : std::nullopt;
        if (attribute)
            visit(*attribute);
        offset += length;
    }
}

std::optional<NtfsAttribute> NtfsRecord::AttributeAt(size_t offset, size_t length) const
{
    const ByteView bytes = ByteView(_bytes).From(offset).First(length);
    ByteReader reader(bytes);
    NtfsAttribute attribute;
    attribute.type = static_cast<NtfsType>(reader.U32());
    reader.Skip(4);  // the length
    const bool hasValue = reader.U8() == 0;
    const size_t nameBytes = size_t{2} * reader.U8();
    const auto name = Part(bytes, reader.U16(), nameBytes);
    attribute.flags = reader.U16();
    if (!name)
        return std::nullopt;
    attribute.name = *name;
    return hasValue ? WithValue(attribute, bytes) : WithRuns(attribute, bytes);
}

}  // namespace vx
