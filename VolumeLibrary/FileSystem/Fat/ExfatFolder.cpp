#include "ExfatFolder.h"

#include "FatFolder.h"
#include "FatTime.h"
#include "Little.h"
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
            if (i != 0 || (at != 2 && at != 3))
                sum = static_cast<uint16_t>((sum >> 1 | (sum & 1u) << 15) + _set[i][at]);
        }
    }
    return sum == Little16(_set[0].data() + 2);
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
    const uint8_t *stream = _set[1].data();
    std::vector<uint8_t> units;
    for (size_t i = 2; i < _set.size() && _set[i][0] == kName; ++i)
        units.insert(units.end(), _set[i].begin() + 2, _set[i].begin() + 2 + kNameBytes);
    const size_t nameBytes = size_t{2} * stream[3];
    if (nameBytes > units.size())
        return false;
    entry->name = Wtf8FromUtf16(ByteView(units).First(nameBytes));
    FatNode node;
    node.isFolder = (_set[0][4] & kVolumeAttributeDirectory) != 0;
    node.isContiguous = (stream[1] & kHasNoChain) != 0;
    node.firstCluster = Little32(stream + 20);
    node.isDoubtful = !_isSetGood;
    node.size = std::min(Little64(stream + 24), FatNode::kMostBytes);
    node.written = Little64(stream + 8);
    entry->node = node.Pack();
    return IsEntryName(entry->name);
}

void ExfatFolder::Describe(VolumeFindData *record) const
{
    const uint8_t *file = _set[0].data();
    const uint32_t attributes = Little16(file + 4) & kAttributes;
    const bool isFolder = (attributes & kVolumeAttributeDirectory) != 0;
    const uint64_t size = isFolder ? 0 : std::min(Little64(_set[1].data() + 24), _mostBytes);
    record->attributes = attributes != 0 ? attributes : kAttributeNormal;
    record->creationTime = FileTimeFromExfat(Little32(file + 8), file[20], file[22]);
    record->lastWriteTime = FileTimeFromExfat(Little32(file + 12), file[21], file[23]);
    record->lastAccessTime = FileTimeFromExfat(Little32(file + 16), 0, file[24]);
    record->sizeHigh = static_cast<uint32_t>(size >> 32);
    record->sizeLow = static_cast<uint32_t>(size);
    record->reserved = 0;
}

}  // namespace vx
