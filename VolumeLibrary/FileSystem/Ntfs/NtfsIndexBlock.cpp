#include "NtfsIndexBlock.h"

#include "Little.h"
#include "Wtf8.h"

namespace vx {
namespace {

constexpr size_t kIndexHeaderBytes = 16;
constexpr size_t kEntryHeaderBytes = 16;
constexpr size_t kNameAt = 66;  // in the description of a name
constexpr uint16_t kHasBlockBelow = 1;
constexpr uint16_t kEndsBlock = 2;
constexpr uint8_t kShortNames = 2;
constexpr uint32_t kReparseAttribute = 0x400;
constexpr uint32_t kExtendedAttributes = 0x40000;

}  // namespace

NtfsIndexBlock::NtfsIndexBlock(std::vector<uint8_t> bytes, size_t at, size_t end)
    : _bytes(std::move(bytes)), _at(at), _end(end)
{
}

std::optional<NtfsIndexBlock> NtfsIndexBlock::Parse(std::vector<uint8_t> bytes, size_t headerAt)
{
    if (bytes.size() < headerAt + kIndexHeaderBytes)
        return std::nullopt;
    const uint8_t *header = bytes.data() + headerAt;
    const size_t left = bytes.size() - headerAt;
    const size_t first = Little32(header);
    const size_t end = Little32(header + 4);
    if (first < kIndexHeaderBytes || first > end || end > left)
        return std::nullopt;
    NtfsIndexBlock block(std::move(bytes), headerAt + first, headerAt + end);
    return block.IsEntryGood() ? std::optional(std::move(block)) : std::nullopt;
}

bool NtfsIndexBlock::IsEntryGood() const
{
    if (_end - _at < kEntryHeaderBytes)
        return false;
    const bool hasBelow = (Little16(Entry() + 12) & kHasBlockBelow) != 0;
    return Length() >= kEntryHeaderBytes + (hasBelow ? 8 : 0) && Length() <= _end - _at;
}

size_t NtfsIndexBlock::Length() const
{
    return Little16(Entry() + 8);
}

std::optional<uint64_t> NtfsIndexBlock::TakeBlockBelow()
{
    if (_hasGivenBlockBelow || (Little16(Entry() + 12) & kHasBlockBelow) == 0)
        return std::nullopt;
    _hasGivenBlockBelow = true;
    return Little64(Entry() + Length() - 8);
}

bool NtfsIndexBlock::IsAtEnd() const
{
    return (Little16(Entry() + 12) & kEndsBlock) != 0;
}

NtfsReference NtfsIndexBlock::File() const
{
    return Little64(Entry());
}

std::optional<NtfsIndexName> NtfsIndexBlock::Name() const
{
    return NtfsIndexName::Parse(
        ByteView(Entry(), Length()).From(kEntryHeaderBytes).First(Little16(Entry() + 10)));
}

std::optional<NtfsIndexName> NtfsIndexName::Parse(ByteView key)
{
    if (key.size < kNameAt)
        return std::nullopt;
    const size_t nameBytes = size_t{2} * key.data[64];
    if (nameBytes > key.size - kNameAt)
        return std::nullopt;
    NtfsIndexName name;
    name.parent = Little64(key.data);
    name.name = Wtf8FromUtf16(key.From(kNameAt).First(nameBytes));
    name.isShortName = key.data[65] == kShortNames;
    name.created = Little64(key.data + 8);
    name.written = Little64(key.data + 16);
    name.accessed = Little64(key.data + 32);
    name.size = Little64(key.data + 48);
    name.flags = Little32(key.data + 56);
    // The same bytes hold the size of extended attributes, if there are any.
    if ((name.flags & kReparseAttribute) != 0 && (name.flags & kExtendedAttributes) == 0)
        name.reparseTag = Little32(key.data + 60);
    return name;
}

bool NtfsIndexBlock::Advance()
{
    if (IsAtEnd())
        return false;
    _at += Length();
    _hasGivenBlockBelow = false;
    return IsEntryGood();
}

}  // namespace vx
