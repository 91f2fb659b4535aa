#include "FatFolder.h"

#include "ByteReader.h"
#include "CodePoints.h"
#include "FatTime.h"
#include "Wtf8.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vx {
namespace {

using Step = VolumeListing::Step;

constexpr uint8_t kDeleted = 0xE5;
constexpr uint8_t kVolumeLabel = 0x08;
constexpr uint8_t kLongNamePart = 0x0F;
constexpr uint8_t kAttributes = 0x3F;
constexpr uint8_t kLastPart = 0x40;
constexpr unsigned kPartNumber = 0x1F;
constexpr unsigned kMostParts = 20;
constexpr size_t kPartBytes = 26;
constexpr size_t kAttributesAt = 11;
constexpr size_t kCheckAt = 13;  // in a part of a long name
constexpr size_t kStemBytes = 8;
constexpr uint8_t kStemIsSmall = 0x08;
constexpr uint8_t kEndingIsSmall = 0x10;
constexpr uint32_t kAttributeNormal = 0x80;

constexpr uint64_t kFolderBit = uint64_t{1} << 63;
constexpr uint64_t kContiguousBit = uint64_t{1} << 62;
constexpr uint64_t kDoubtfulBit = uint64_t{1} << 61;

uint8_t CheckOf(ByteView shortName)
{
    uint8_t sum = 0;
    for (size_t i = 0; i < shortName.size; ++i)
        sum = static_cast<uint8_t>((sum >> 1 | sum << 7) + shortName.data[i]);
    return sum;
}

// The upper half of code page 437. A volume does not say which code page its short names have.
constexpr char16_t kCodePage437[] =
    u"\u00C7\u00FC\u00E9\u00E2\u00E4\u00E0\u00E5\u00E7\u00EA\u00EB\u00E8\u00EF\u00EE\u00EC\u00C4"
    u"\u00C5\u00C9\u00E6\u00C6\u00F4\u00F6\u00F2\u00FB\u00F9\u00FF\u00D6\u00DC\u00A2\u00A3\u00A5"
    u"\u20A7\u0192\u00E1\u00ED\u00F3\u00FA\u00F1\u00D1\u00AA\u00BA\u00BF\u2310\u00AC\u00BD\u00BC"
    u"\u00A1\u00AB\u00BB\u2591\u2592\u2593\u2502\u2524\u2561\u2562\u2556\u2555\u2563\u2551\u2557"
    u"\u255D\u255C\u255B\u2510\u2514\u2534\u252C\u251C\u2500\u253C\u255E\u255F\u255A\u2554\u2569"
    u"\u2566\u2560\u2550\u256C\u2567\u2568\u2564\u2565\u2559\u2558\u2552\u2553\u256B\u256A\u2518"
    u"\u250C\u2588\u2584\u258C\u2590\u2580\u03B1\u00DF\u0393\u03C0\u03A3\u03C3\u00B5\u03C4\u03A6"
    u"\u0398\u03A9\u03B4\u221E\u03C6\u03B5\u2229\u2261\u00B1\u2265\u2264\u2320\u2321\u00F7\u2248"
    u"\u00B0\u2219\u00B7\u221A\u207F\u00B2\u25A0\u00A0";

// The small letter for a large one of that code page, or for one of ASCII; others stay.
char32_t Small(uint8_t byte)
{
    constexpr std::pair<uint8_t, uint8_t> kPairs[] = {{0x80, 0x87}, {0x8E, 0x84}, {0x8F, 0x86},
                                                      {0x90, 0x82}, {0x92, 0x91}, {0x99, 0x94},
                                                      {0x9A, 0x81}, {0xA5, 0xA4}};
    for (const auto &[large, small] : kPairs) {
        if (byte == large)
            return kCodePage437[small - 0x80];
    }
    if (byte >= 0x80)
        return kCodePage437[byte - 0x80];
    return byte >= 'A' && byte <= 'Z' ? byte + 32u : byte;
}

// Appends a part of the short name without the trailing spaces.
void AppendShort(ByteView part, bool isSmall, std::string *name)
{
    while (part.size > 0 && part.data[part.size - 1] == ' ')
        --part.size;
    for (size_t i = 0; i < part.size; ++i) {
        const uint8_t byte = part.data[i];
        const char32_t large = byte < 0x80 ? byte : kCodePage437[byte - 0x80];
        AppendUtf8(isSmall ? Small(byte) : large, name);
    }
}

std::string ShortName(const FatEntry &file)
{
    auto bytes = file.shortName;
    if (bytes[0] == FatEntry::kStandsForE5)
        bytes[0] = kDeleted;
    const ByteView stored(bytes);
    std::string name;
    std::string ending;
    AppendShort(stored.First(kStemBytes), (file.smallLetters & kStemIsSmall) != 0, &name);
    AppendShort(stored.From(kStemBytes), (file.smallLetters & kEndingIsSmall) != 0, &ending);
    return ending.empty() ? name : name + '.' + ending;
}

bool IsDots(const FatEntry &file)
{
    return HasTextAt(file.shortName, 0, ".          ") ||
           HasTextAt(file.shortName, 0, "..         ");
}

// The units before the zero that ends a name which does not fill its last part.
ByteView UnitsOf(const std::vector<uint8_t> &units)
{
    size_t count = 0;
    while (U16At(units, count) != 0)
        count += 2;
    return ByteView(units).First(count);
}

}  // namespace

Node FatNode::Pack() const
{
    return {firstCluster,
            size | (isFolder ? kFolderBit : 0) | (isContiguous ? kContiguousBit : 0) |
                (isDoubtful ? kDoubtfulBit : 0),
            written};
}

FatNode FatNode::Unpack(const Node &node)
{
    FatNode unpacked;
    unpacked.firstCluster = static_cast<uint32_t>(node.place);
    unpacked.size = node.size & ~(kFolderBit | kContiguousBit | kDoubtfulBit);
    unpacked.written = node.written;
    unpacked.isFolder = (node.size & kFolderBit) != 0;
    unpacked.isContiguous = (node.size & kContiguousBit) != 0;
    unpacked.isDoubtful = (node.size & kDoubtfulBit) != 0;
    return unpacked;
}

Step FatFolder::Next(FolderEntry *entry)
{
    for (;;) {
        switch (NextEntry()) {
        case FolderBytes::Step::kError:
            return Step::kError;
        case FolderBytes::Step::kEnd:
            TakeEnd();
            return Step::kEnd;
        case FolderBytes::Step::kGap:
            TakeGap();
            continue;
        case FolderBytes::Step::kEntry:
            break;
        }
        if (_entry[0] == kDeleted) {
            DropName();
        } else if ((_entry[kAttributesAt] & kAttributes) == kLongNamePart) {
            TakeNamePart();
        } else {
            const bool isShown = TakeFile(entry);
            DropName();
            if (isShown)
                return Step::kEntry;
        }
    }
}

// All folders but the root begin with "."; one that seems empty has lost what it held.
FolderBytes::Step FatFolder::NextEntry()
{
    const FolderBytes::Step step = _bytes.Next(&_entry);
    if (!_isRoot && !_hasBegun && _bytes.IsBeyondEnd())
        _bytes.Damage().Note(VolumeObstacle::kDamaged);
    _hasBegun = true;
    return step;
}

// The entry of the long name lies in the gap, unless the missing parts of the name fill the gap.
void FatFolder::TakeGap()
{
    constexpr unsigned kEntriesOfGap = FolderBytes::kSectorBytes / FolderBytes::kEntryBytes;
    if (_longName && !_isNameBeyondEnd && _longName->next < kEntriesOfGap)
        _bytes.Damage().Lose();
    DropName();
}

// The entry of the last long name is missing.
void FatFolder::TakeEnd()
{
    if (HasNameParts() && !_isNameBeyondEnd)
        _bytes.Damage().Lose();
    DropName();
}

void FatFolder::DropName()
{
    _longName.reset();
    _isNameTorn = false;
}

void FatFolder::TearName()
{
    _longName.reset();
    _isNameTorn = true;
}

// Whether more of the name that has begun is to follow, and this part may belong to it.
bool FatFolder::IsAmidName() const
{
    return _longName && _longName->next != 0 && _longName->check == _entry[kCheckAt];
}

void FatFolder::TakeNamePart()
{
    const unsigned number = _entry[0] & kPartNumber;
    const bool begins = (_entry[0] & kLastPart) != 0;
    if (begins && !IsAmidName())
        BeginName(number);
    else if (begins || !IsAmidName() || number != _longName->next)
        TearName();
    _isNameBeyondEnd = _bytes.IsBeyondEnd();
    if (!_longName)
        return;
    uint8_t *part = _longName->units.data() + (number - 1) * kPartBytes;
    std::memcpy(part, _entry.data() + 1, 10);
    std::memcpy(part + 10, _entry.data() + 14, 12);
    std::memcpy(part + 22, _entry.data() + 28, 4);
    --_longName->next;
}

// The entry of an earlier name is missing.
void FatFolder::BeginName(unsigned parts)
{
    TakeEnd();
    if (parts == 0 || parts > kMostParts)
        TearName();
    else
        _longName = LongName{std::vector<uint8_t>(parts * kPartBytes), _entry[kCheckAt], parts};
}

// False for an entry that is not shown.
bool FatFolder::TakeFile(FolderEntry *entry)
{
    _file = FatEntry(_entry);
    if ((_file.attributes & kVolumeLabel) != 0) {
        TakeLabel();
        return false;
    }
    if (IsDots(_file) || !IsPlausible())
        return false;
    const auto longName = LongNameOfFile();
    entry->name = longName.value_or(ShortName(_file));
    FatNode node;
    node.isFolder = _file.IsFolder();
    node.firstCluster = _file.FirstCluster(_geometry.kind);
    node.size = node.isFolder ? 0 : _file.size;
    node.written = node.size;
    entry->node = node.Pack();
    FolderDamage &damage = _bytes.Damage();
    const bool isShown = IsEntryName(entry->name);
    if (!isShown)
        damage.Lose();
    else if (_bytes.IsBeyondEnd() || (HasNameParts() && !longName))
        damage.Recover();
    else
        damage.Resume();
    return isShown;
}

// A label has no size and no long name: with one of them this is a file with damaged attributes.
void FatFolder::TakeLabel()
{
    const bool isFile = HasNameParts() || _file.size != 0;
    if (isFile && !_bytes.IsBeyondEnd())
        _bytes.Damage().Lose();
}

// One odd field is no reason to leave out a file, but amid damage it is. What is not an entry,
// beyond the end of a folder, is left from an earlier use.
bool FatFolder::IsPlausible()
{
    FolderDamage &damage = _bytes.Damage();
    const bool isBeyondEnd = _bytes.IsBeyondEnd();
    const int oddities = _file.HasControlsInName() ? 2 : _file.Oddities(_geometry);
    const int allowed = isBeyondEnd || damage.IsLosing() ? 0 : 1;
    if (oddities > allowed) {
        if (!isBeyondEnd)
            damage.Lose();
        return false;
    }
    return true;
}

std::optional<std::string> FatFolder::LongNameOfFile() const
{
    if (!_longName || _longName->next != 0 || _longName->check != CheckOf(_file.shortName))
        return std::nullopt;
    std::string name = Wtf8FromUtf16(UnitsOf(_longName->units));
    return IsEntryName(name) ? std::optional(std::move(name)) : std::nullopt;
}

void FatFolder::Describe(VolumeFindData *record) const
{
    const uint32_t attributes = _file.attributes & (kAttributes & ~kVolumeLabel);
    const uint64_t size =
        _file.IsFolder() ? 0 : std::min<uint64_t>(_file.size, _geometry.MostBytes());
    record->attributes = attributes != 0 ? attributes : kAttributeNormal;
    record->creationTime =
        FileTimeFromFat(_file.createdDate, _file.createdTime, _file.createdHundredths);
    record->lastAccessTime = FileTimeFromFat(_file.accessedDate, 0, 0);
    record->lastWriteTime = FileTimeFromFat(_file.writtenDate, _file.writtenTime, 0);
    record->sizeHigh = 0;
    record->sizeLow = static_cast<uint32_t>(size);
    record->reserved = 0;
}

}  // namespace vx
