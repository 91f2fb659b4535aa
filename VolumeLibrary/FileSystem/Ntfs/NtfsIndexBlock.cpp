#include "NtfsIndexBlock.h"

#include "ByteReader.h"
#include "Wtf8.h"

namespace vx {
namespace {

constexpr size_t kIndexHeaderBytes = 16;
constexpr size_t kEntryHeaderBytes = 16;
// In an entry:
constexpr size_t kLengthAt = 8;
constexpr size_t kKeyLengthAt = 10;
constexpr size_t kFlagsAt = 12;
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
    const ByteView header = ByteView(bytes).From(headerAt);
    const size_t first = U32At(header, 0);
    const size_t end = U32At(header, 4);
    if (first < kIndexHeaderBytes || first > end || end > header.size)
        return std::nullopt;
    NtfsIndexBlock block(std::move(bytes), headerAt + first, headerAt + end);
    return block.IsEntryGood() ? std::optional(std::move(block)) : std::nullopt;
}

ByteView NtfsIndexBlock::Entry() const
{
    return ByteView(_bytes).First(_end).From(_at);
}

bool NtfsIndexBlock::IsEntryGood() const
{
    const size_t blockBelowBytes = HasBlockBelow() ? 8 : 0;
    return Length() >= kEntryHeaderBytes + blockBelowBytes && Length() <= Entry().size;
}

size_t NtfsIndexBlock::Length() const
{
    return U16At(Entry(), kLengthAt);
}

bool NtfsIndexBlock::HasBlockBelow() const
{
    return (U16At(Entry(), kFlagsAt) & kHasBlockBelow) != 0;
}

std::optional<uint64_t> NtfsIndexBlock::TakeBlockBelow()
{
    if (_hasGivenBlockBelow || !HasBlockBelow())
        return std::nullopt;
    _hasGivenBlockBelow = true;
    return U64At(Entry(), Length() - 8);
}

bool NtfsIndexBlock::IsAtEnd() const
{
    return (U16At(Entry(), kFlagsAt) & kEndsBlock) != 0;
}

NtfsReference NtfsIndexBlock::File() const
{
    return U64At(Entry(), 0);
}

std::optional<NtfsIndexName> NtfsIndexBlock::Name() const
{
    const ByteView entry = Entry().First(Length());
    return NtfsIndexName::Parse(entry.From(kEntryHeaderBytes).First(U16At(entry, kKeyLengthAt)));
}

std::optional<NtfsIndexName> NtfsIndexName::Parse(ByteView bytes)
{
    ByteReader reader(bytes);
    NtfsIndexName name;
    name.parent = reader.U64();
    name.created = reader.U64();
    name.written = reader.U64();
    reader.Skip(8);  // when the record was changed
    name.accessed = reader.U64();
    reader.Skip(8);  // the allocated size
    name.size = reader.U64();
    name.flags = reader.U32();
    const uint32_t reparseTag = reader.U32();
    const size_t units = reader.U8();
    name.isShortName = reader.U8() == kShortNames;
    const ByteView text = reader.Bytes(2 * units);
    if (!reader.Good())
        return std::nullopt;
    name.name = Wtf8FromUtf16(text);
    // The same bytes hold the size of extended attributes, if there are any.
    if ((name.flags & kReparseAttribute) != 0 && (name.flags & kExtendedAttributes) == 0)
        name.reparseTag = reparseTag;
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
