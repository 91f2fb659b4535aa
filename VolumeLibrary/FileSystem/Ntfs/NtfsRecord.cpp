#include "NtfsRecord.h"

#include "ByteReader.h"

#include <cstring>
#include <utility>

namespace vx {
namespace {

constexpr size_t kSequenceAt = 16;
constexpr size_t kAttributesAt = 20;
constexpr size_t kFlagsAt = 22;
constexpr size_t kUsedBytesAt = 24;
constexpr size_t kBaseAt = 32;
constexpr size_t kHeaderBytes = 48;
constexpr uint16_t kInUse = 1;
constexpr uint16_t kFolder = 2;

constexpr uint8_t kResident = 0;
constexpr uint8_t kInRuns = 1;
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

// The types of attributes are multiples of 16, and all of them are known.
bool IsType(uint32_t type)
{
    constexpr uint32_t kLast = 0x100;
    return type >= 0x10 && type <= kLast && type % 0x10 == 0;
}

// Whether the fixed fields, the name and what the attribute holds follow each other.
bool AreInOrder(size_t headerBytes, size_t nameAt, size_t nameBytes, size_t contentsAt)
{
    const bool hasName = nameBytes > 0;
    return contentsAt >= headerBytes &&
           (!hasName || (nameAt >= headerBytes && nameAt + nameBytes <= contentsAt));
}

// These two complete an attribute by what follows the fields that all have. Nothing if it is
// damaged. An attribute of data has no room for more than its value: if it seems so, the length of
// the value is wrong.
std::optional<NtfsAttribute> WithValue(NtfsAttribute attribute, ByteView bytes, size_t valueAt)
{
    constexpr size_t kAlignment = 8;
    const auto value = Part(bytes, valueAt, U32At(bytes, 16));
    if (!value)
        return std::nullopt;
    const size_t unused = bytes.size - valueAt - value->size;
    if (attribute.type == NtfsType::kData && unused >= kAlignment)
        return std::nullopt;
    attribute.isResident = true;
    attribute.value = *value;
    attribute.size = value->size;
    return attribute;
}

std::optional<NtfsAttribute> WithRuns(NtfsAttribute attribute, ByteView bytes, size_t runsAt)
{
    ByteReader reader(bytes, 16);
    attribute.firstCluster = reader.U64();
    reader.Skip(8 + 2);  // the last cluster, where the runs are
    attribute.compressionShift = reader.U16();
    reader.Skip(4 + 8);  // the allocated size among them
    attribute.size = reader.U64();
    attribute.initialised = reader.U64();
    if (!reader.Good() || runsAt > bytes.size)
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

// The used part of a record ends with the mark, which is padded.
bool NtfsRecord::IsEndAt(size_t offset) const
{
    constexpr size_t kMarkBytes = 4;
    constexpr size_t kMostBytes = 16;
    const size_t used = U32At(_bytes, kUsedBytesAt);
    return U32At(_bytes, offset) == kEnd && used >= offset + kMarkBytes &&
           used <= offset + kMostBytes;
}

bool NtfsRecord::IsWhole() const
{
    size_t offset = FirstOffset();
    uint32_t last = 0;
    while (const size_t length = LengthAt(offset)) {
        const uint32_t type = U32At(_bytes, offset);
        const auto attribute = AttributeAt(offset, length);
        if (!attribute || attribute->firstCluster != 0 || !IsType(type) || type < last)
            return false;
        last = type;
        offset += length;
    }
    return IsEndAt(offset);
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
    const uint8_t form = reader.U8();
    const bool hasValue = form == kResident;
    const size_t nameBytes = size_t{2} * reader.U8();
    const size_t nameAt = reader.U16();
    attribute.flags = reader.U16();
    const size_t contentsAt = U16At(bytes, hasValue ? 20 : 32);
    const auto name = Part(bytes, nameAt, nameBytes);
    if (form > kInRuns || !name ||
        !AreInOrder(hasValue ? kResidentBytes : kRunsBytes, nameAt, nameBytes, contentsAt))
        return std::nullopt;
    attribute.name = *name;
    return hasValue ? WithValue(attribute, bytes, contentsAt)
                    : WithRuns(attribute, bytes, contentsAt);
}

}  // namespace vx
