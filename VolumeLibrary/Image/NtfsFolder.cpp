#include "NtfsFolder.h"

#include "Little.h"
#include "NtfsAttributes.h"
#include "NtfsFixups.h"
#include "Wtf8.h"

#include <cstring>

namespace vx {
namespace {

using Step = VolumeListing::Step;

constexpr char16_t kIndexName[] = u"$I30";
constexpr size_t kRootHeaderAt = 16;
constexpr size_t kBlockHeaderAt = 24;
// An index of this depth holds more names than a disk.
constexpr size_t kDeepest = 24;
// The records below this number are the file system's own.
constexpr uint64_t kFirstOrdinary = 24;

}  // namespace

NtfsFolder::NtfsFolder(const NtfsMft &mft, const bitlocker::ByteSource &volume, uint64_t number)
    : _mft(mft), _volume(volume), _number(number)
{
}

std::unique_ptr<NtfsFolder> NtfsFolder::Open(const NtfsMft &mft,
                                             const bitlocker::ByteSource &volume,
                                             const NtfsRecord &folder, uint64_t number)
{
    std::unique_ptr<NtfsFolder> reader(new NtfsFolder(mft, volume, number));
    return reader->Begin(folder) ? std::move(reader) : nullptr;
}

bool NtfsFolder::Begin(const NtfsRecord &folder)
{
    NtfsStream root;
    if (FindStream(_mft, _volume, folder, _number, NtfsType::kIndexRoot, kIndexName, &root) !=
            NtfsFound::kYes ||
        !root.isResident || root.bytes.size() < kRootHeaderAt)
        return false;
    _blockBytes = Little32(root.bytes.data() + 8);
    if (!IsPowerOfTwo(_blockBytes) || _blockBytes < 512 || _blockBytes > 65536)
        return false;
    NtfsStream blocks;
    const NtfsFound found =
        FindStream(_mft, _volume, folder, _number, NtfsType::kIndexAllocation, kIndexName, &blocks);
    if (found == NtfsFound::kDamaged || blocks.isResident ||
        blocks.extents.runs.size() > kMostRunsOfTables)
        return false;
    _blocks = std::move(blocks.extents);
    auto top = NtfsIndexBlock::Parse(std::move(root.bytes), kRootHeaderAt);
    if (!top)
        return false;
    _path.push_back(std::move(*top));
    return true;
}

// No block lies below two entries. One that does would multiply what lies below it, level by
// level.
bool NtfsFolder::IsFirstVisit(uint64_t position)
{
    constexpr uint64_t kLeastBlock = 512;
    constexpr uint64_t kMostPlaces = uint64_t{1} << 26;
    const uint64_t place = position / kLeastBlock;
    if (place >= kMostPlaces)
        return false;
    if (place >= _visited.size())
        _visited.resize(static_cast<size_t>(place) + 1);
    if (_visited[place])
        return false;
    _visited[place] = true;
    return true;
}

bool NtfsFolder::Descend(uint64_t block)
{
    if (_path.size() == kDeepest)
        return false;
    const uint32_t clusterBytes = _mft.Geometry().clusterBytes;
    const uint64_t unit = clusterBytes <= _blockBytes ? clusterBytes : 512;
    uint64_t position = 0;
    if (__builtin_mul_overflow(block, unit, &position) || position >= _blocks.size ||
        _blocks.size - position < _blockBytes || !IsFirstVisit(position))
        return false;
    std::vector<uint8_t> bytes(_blockBytes);
    uint32_t done = 0;
    if (!ReadExtents(_volume, _blocks, position, reinterpret_cast<char *>(bytes.data()),
                     _blockBytes, &done) ||
        std::memcmp(bytes.data(), "INDX", 4) != 0 || !ApplyNtfsFixups(&bytes) ||
        Little64(bytes.data() + 16) != block)
        return false;
    auto parsed = NtfsIndexBlock::Parse(std::move(bytes), kBlockHeaderAt);
    if (!parsed)
        return false;
    _path.push_back(std::move(*parsed));
    return true;
}

Step NtfsFolder::Next(FolderEntry *entry)
{
    while (!_path.empty()) {
        if (_hasGivenEntry && !_path.back().Advance())
            return Step::kError;
        _hasGivenEntry = false;
        if (const auto below = _path.back().TakeBlockBelow()) {
            if (!Descend(*below))
                return Step::kError;
            continue;
        }
        if (_path.back().IsAtEnd()) {
            _path.pop_back();
            continue;
        }
        bool isShown = false;
        const Step step = TakeEntry(entry, &isShown);
        if (step == Step::kError || isShown)
            return step;
    }
    return Step::kEnd;
}

Step NtfsFolder::TakeEntry(FolderEntry *entry, bool *isShown)
{
    auto name = _path.back().Name();
    if (!name)
        return Step::kError;
    _hasGivenEntry = true;
    _file = _path.back().File();
    _name = std::move(*name);
    *isShown = !_name.isShortName && NtfsNumber(_file) >= kFirstOrdinary &&
               NtfsNumber(_name.parent) == _number && IsEntryName(_name.name);
    entry->name = _name.name;
    entry->node = {_file, 0, 0};
    return Step::kEntry;
}

void NtfsFolder::Describe(VolumeFindData *record) const
{
    const auto file = _mft.Load(_file);
    if (file)
        DescribeNtfsFile(_mft, _volume, *file, NtfsNumber(_file), record);
    else
        DescribeNtfsName(_name, record);
}

}  // namespace vx
