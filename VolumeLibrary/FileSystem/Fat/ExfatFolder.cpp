#include "ExfatFolder.h"

#include "ByteReader.h"
#include "FatFolder.h"
#include "FatTime.h"
#include "Wtf8.h"

#include <algorithm>

namespace vx {
namespace {

using Step = VolumeListing::Step;

constexpr uint8_t kAllocation = 0x81;
constexpr uint8_t kUpperCase = 0x82;
constexpr uint8_t kLabel = 0x83;
constexpr uint8_t kFile = 0x85;
constexpr uint8_t kStream = 0xC0;
constexpr uint8_t kName = 0xC1;
constexpr uint8_t kBelongsToFile = 0xC0;  // the two highest bits of what follows a file
constexpr uint8_t kIsInUse = 0x80;
constexpr uint8_t kMayBeUnknown = 0x20;
constexpr size_t kMostEntries = 256;
constexpr size_t kNameBytes = 30;
constexpr uint8_t kHasNoChain = 0x02;
constexpr uint16_t kAttributes = 0x37;
constexpr uint32_t kAttributeNormal = 0x80;
constexpr size_t kSumAt = 2;  // two bytes

// The second entry of a set: where the data lies.
struct Stream {
    bool isContiguous = false;
    size_t nameUnits = 0;
    uint64_t written = 0;
    uint32_t firstCluster = 0;
    uint64_t size = 0;

    explicit Stream(ByteView entry)
    {
        ByteReader reader(entry, 1);
        isContiguous = (reader.U8() & kHasNoChain) != 0;
        reader.Skip(1);
        nameUnits = reader.U8();
        reader.Skip(4);  // a hash of the name
        written = reader.U64();
        reader.Skip(4);
        firstCluster = reader.U32();
        size = reader.U64();
    }
};

uint16_t AttributesOf(ByteView file)
{
    return U16At(file, 4) & kAttributes;
}

// The units of the name, and what fills the last entry of it.
std::vector<uint8_t> NameUnitsOf(const std::vector<FolderBytes::Entry> &set)
{
    std::vector<uint8_t> units;
    for (size_t i = 2; i < set.size() && set[i][0] == kName; ++i)
        units.insert(units.end(), set[i].begin() + 2, set[i].begin() + 2 + kNameBytes);
    return units;
}

}  // namespace

Step ExfatFolder::Next(FolderEntry *entry)
{
    for (;;) {
        const Step step = TakeSet();
        if (step != Step::kEntry)
            return step;
        if (ShowSet(entry))
            return Step::kEntry;
    }
}

// A file and all entries that follow and could belong to it, up to a gap.
Step ExfatFolder::TakeSet()
{
    _set.clear();
    for (;;) {
        const FolderBytes::Step step = _hasNext ? FolderBytes::Step::kEntry : _bytes.Next(&_next);
        if (step == FolderBytes::Step::kError)
            return Step::kError;
        if (step == FolderBytes::Step::kEnd)
            return TakeEnd();
        _hasNext = step == FolderBytes::Step::kEntry;
        const bool belongs = _hasNext && (_next[0] & kBelongsToFile) == kBelongsToFile;
        if (!_set.empty() && (!belongs || _set.size() == kMostEntries))
            return Step::kEntry;
        const bool begins = _hasNext && _next[0] == kFile;
        if (begins)
            _isSetBeyondEnd = _bytes.IsBeyondEnd();
        if (begins || !_set.empty())
            _set.push_back(_next);
        else if (_hasNext)
            TakeOther();
        _hasNext = false;
    }
}

// An entry that begins no file and belongs to none: one of the volume's own, a deleted one, or a
// sign of damage.
void ExfatFolder::TakeOther()
{
    constexpr uint8_t kKnown[] = {kAllocation, kUpperCase, kLabel};
    const bool isInUse = (_next[0] & kIsInUse) != 0;
    const bool isPart = (_next[0] & kBelongsToFile) == kBelongsToFile;
    const bool isKnown = std::count(std::begin(kKnown), std::end(kKnown), _next[0]) != 0 ||
                         (!isPart && (_next[0] & kMayBeUnknown) != 0);
    if (isInUse && !isKnown)
        _bytes.Damage().Lose();
    _hasAllocation = _hasAllocation || _next[0] == kAllocation;
    _hasUpperCase = _hasUpperCase || _next[0] == kUpperCase;
}

Step ExfatFolder::TakeEnd()
{
    if (!_set.empty())
        return Step::kEntry;
    if (_isRoot && (!_hasAllocation || !_hasUpperCase))
        _bytes.Damage().Note(VolumeObstacle::kDamaged);
    return Step::kEnd;
}

bool ExfatFolder::FitsChecksum() const
{
    const size_t count = StatedEntries();
    if (count < 3 || _set.size() < count || _set[1][0] != kStream)
        return false;
    uint16_t sum = 0;
    for (size_t i = 0; i < count; ++i) {
        for (size_t at = 0; at < FolderBytes::kEntryBytes; ++at) {
            if (i != 0 || (at != kSumAt && at != kSumAt + 1))
                sum = static_cast<uint16_t>((sum >> 1 | (sum & 1u) << 15) + _set[i][at]);
        }
    }
    return sum == U16At(_set[0], kSumAt);
}

bool ExfatFolder::ShowSet(FolderEntry *entry)
{
    FolderDamage &damage = _bytes.Damage();
    _isSetGood = FitsChecksum();
    const bool hasMore = _isSetGood && _set.size() > StatedEntries();
    if (_isSetGood)
        _set.resize(StatedEntries());
    const bool isShown = TakeFile(entry);
    if (!isShown)
        damage.Lose();
    else if (!_isSetGood || _isSetBeyondEnd)
        damage.Recover();
    else
        damage.Resume();
    if (hasMore)  // they belong to a file of which the first entry is damaged
        damage.Lose();
    return isShown;
}

// False for an entry that is not shown.
bool ExfatFolder::TakeFile(FolderEntry *entry) const
{
    if (_set.size() < 3 || _set[1][0] != kStream)
        return false;
    const Stream stream(_set[1]);
    const std::vector<uint8_t> units = NameUnitsOf(_set);
    if (2 * stream.nameUnits > units.size())
        return false;
    entry->name = Wtf8FromUtf16(ByteView(units).First(2 * stream.nameUnits));
    FatNode node;
    node.isFolder = (AttributesOf(_set[0]) & kVolumeAttributeDirectory) != 0;
    node.isContiguous = stream.isContiguous;
    node.firstCluster = stream.firstCluster;
    node.isDoubtful = !_isSetGood;
    node.size = std::min(stream.size, FatNode::kMostBytes);
    node.written = stream.written;
    entry->node = node.Pack();
    return IsEntryName(entry->name);
}

void ExfatFolder::Describe(VolumeFindData *record) const
{
    const uint32_t attributes = AttributesOf(_set[0]);
    const bool isFolder = (attributes & kVolumeAttributeDirectory) != 0;
    const uint64_t size = isFolder ? 0 : std::min(Stream(_set[1]).size, _mostBytes);
    ByteReader times(_set[0], 8);
    const uint32_t created = times.U32();
    const uint32_t written = times.U32();
    const uint32_t accessed = times.U32();
    const uint8_t createdHundredths = times.U8();
    const uint8_t writtenHundredths = times.U8();
    record->creationTime = FileTimeFromExfat(created, createdHundredths, times.U8());
    record->lastWriteTime = FileTimeFromExfat(written, writtenHundredths, times.U8());
    record->lastAccessTime = FileTimeFromExfat(accessed, 0, times.U8());
    record->attributes = attributes != 0 ? attributes : kAttributeNormal;
    record->sizeHigh = static_cast<uint32_t>(size >> 32);
    record->sizeLow = static_cast<uint32_t>(size);
    record->reserved = 0;
}

}  // namespace vx
