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
constexpr size_t kBlockBelowBytes = 8;
constexpr uint16_t kEndsBlock = 2;

// In a key:
constexpr size_t kKeyUnitsAt = 64;
constexpr size_t kKeyHeaderBytes = 66;

constexpr uint8_t kShortNames = 2;
constexpr uint32_t kReparseAttribute = 0x400;
constexpr uint32_t kExtendedAttributes = 0x40000;

}  // namespace

NtfsIndexBlock::NtfsIndexBlock(std::vector<uint8_t> bytes, size_t at, size_t end, bool beginsRight)
    : _bytes(std::move(bytes)), _at(at), _end(end), _beginsRight(beginsRight)
{
}

std::optional<NtfsIndexBlock> NtfsIndexBlock::Parse(std::vector<uint8_t> bytes, size_t headerAt,
                                                    size_t firstAt)
{
    const ByteView header = ByteView(bytes).From(headerAt);
    const size_t first = U32At(header, 0);
    const size_t end = U32At(header, 4);
    if (first < kIndexHeaderBytes || first > end || end > header.size)
        return std::nullopt;
    NtfsIndexBlock block(std::move(bytes), headerAt + first, headerAt + end,
                         headerAt + first == firstAt);
    return block.IsEntryGood() ? std::optional(std::move(block)) : std::nullopt;
}

ByteView NtfsIndexBlock::Entry() const
{
    return ByteView(_bytes).First(_end).From(_at);
}

bool NtfsIndexBlock::IsEntryGood() const
{
    const size_t blockBelowBytes = HasBlockBelow() ? kBlockBelowBytes : 0;
    return Length() >= kEntryHeaderBytes + blockBelowBytes && Length() <= Entry().size;
}

bool NtfsIndexBlock::IsConsistent() const
{
    const ByteView entry = Entry();
    const size_t keyBytes = IsAtEnd() ? 0 : U16At(entry, kKeyLengthAt);
    const size_t nameBytes = IsAtEnd() ? 0 : kKeyHeaderBytes + 2 * NameUnits();
    const size_t wanted =
        (kEntryHeaderBytes + keyBytes + 7) / 8 * 8 + (HasBlockBelow() ? kBlockBelowBytes : 0);
    return _beginsRight && keyBytes == nameBytes && Length() == wanted &&
           (!IsAtEnd() || Length() == entry.size);
}

size_t NtfsIndexBlock::NameUnits() const
{
    const ByteView units = Entry().First(Length()).From(kEntryHeaderBytes + kKeyUnitsAt);
    return units.size > 0 ? units.data[0] : 0;
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
    return U64At(Entry(), Length() - kBlockBelowBytes);
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
