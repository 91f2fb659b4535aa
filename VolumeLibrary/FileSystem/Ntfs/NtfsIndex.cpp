#include "NtfsIndex.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"

#include <algorithm>

namespace vx {
namespace {

constexpr char16_t kIndexName[] = u"$I30";
constexpr size_t kRootHeaderAt = 16;
constexpr size_t kRootFirstAt = 32;
constexpr size_t kBlockHeaderAt = 24;
// An index of this depth holds more names than a disk.
constexpr size_t kDeepest = 24;
constexpr uint64_t kLeastBlock = 512;
constexpr uint64_t kMostPlaces = uint64_t{1} << 26;

// The entries of a block follow the bytes that its sectors ended with.
size_t AfterFixups(ByteView block)
{
    return (U16At(block, 4) + size_t{2} * U16At(block, 6) + 7) / 8 * 8;
}

}  // namespace

NtfsIndex::NtfsIndex(const NtfsMft &mft, const ByteSource &volume) : _mft(mft), _volume(volume) {}

void NtfsIndex::NoteTrouble(VolumeObstacle found)
{
    if (_trouble == VolumeObstacle::kNone)
        _trouble = found;
}

void NtfsIndex::Begin(const NtfsRecord &folder, uint64_t number)
{
    if (BeginRoot(folder, number))
        FindBlocks(folder, number);
    else
        NoteTrouble(VolumeObstacle::kDamaged);
}

bool NtfsIndex::BeginRoot(const NtfsRecord &folder, uint64_t number)
{
    NtfsStream root = FindStream(_mft, _volume, folder, number, NtfsType::kIndexRoot, kIndexName);
    NoteTrouble(root.trouble);
    if (root.found != NtfsFound::kYes || !root.isResident)
        return false;
    _blockBytes = U32At(root.bytes, 8);
    if (!IsPowerOfTwo(_blockBytes) || _blockBytes < 512 || _blockBytes > 65536)
        return false;
    auto top = NtfsIndexBlock::Parse(std::move(root.bytes), kRootHeaderAt, kRootFirstAt);
    if (top)
        _path.push_back(std::move(*top));
    return top.has_value();
}

void NtfsIndex::FindBlocks(const NtfsRecord &folder, uint64_t number)
{
    NtfsStream blocks =
        FindStream(_mft, _volume, folder, number, NtfsType::kIndexAllocation, kIndexName);
    NoteTrouble(blocks.trouble);
    if (!blocks.isResident && blocks.extents.runs.size() <= kMostRunsOfTables)
        _blocks = std::move(blocks.extents);
    else
        NoteTrouble(VolumeObstacle::kDamaged);
    _inUse = FindStream(_mft, _volume, folder, number, NtfsType::kBitmap, kIndexName);
}

bool NtfsIndex::IsFolder(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &record,
                         uint64_t number)
{
    return record.IsFolder() ||
           FindStream(mft, volume, record, number, NtfsType::kIndexRoot, kIndexName).found ==
               NtfsFound::kYes;
}

std::optional<uint64_t> NtfsIndex::PositionOf(uint64_t block) const
{
    const uint32_t clusterBytes = _mft.Geometry().clusterBytes;
    const uint64_t unit = clusterBytes <= _blockBytes ? clusterBytes : 512;
    uint64_t position = 0;
    if (__builtin_mul_overflow(block, unit, &position) || position >= _blocks.size ||
        _blocks.size - position < _blockBytes)
        return std::nullopt;
    return position;
}

// No block lies below two entries. One that does would multiply what lies below it, level by
// level.
bool NtfsIndex::IsFirstVisit(uint64_t position)
{
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

bool NtfsIndex::WasVisited(uint64_t position) const
{
    const uint64_t place = position / kLeastBlock;
    return place < _visited.size() && _visited[place];
}

// Nothing if it is damaged or cannot be read.
std::optional<std::vector<uint8_t>> NtfsIndex::BlocksInUse() const
{
    if (_inUse.found != NtfsFound::kYes || _inUse.Size() > kMostPlaces / 8)
        return std::nullopt;
    if (_inUse.isResident)
        return _inUse.bytes;
    return ReadExtentBytes(_volume, _inUse.extents, 0, static_cast<uint32_t>(_inUse.Size()));
}

bool NtfsIndex::HasUnreachedBlock() const
{
    const uint64_t blocks = _blockBytes != 0 ? _blocks.size / _blockBytes : 0;
    if (blocks == 0)
        return false;
    const auto inUse = BlocksInUse();
    if (!inUse)
        return true;
    const uint64_t end = std::min<uint64_t>(blocks, 8 * inUse->size());
    for (uint64_t block = 0; block < end; ++block) {
        const bool isInUse = ((*inUse)[block / 8] >> block % 8 & 1) != 0;
        if (isInUse && !WasVisited(block * _blockBytes))
            return true;
    }
    return false;
}

// Nothing if it is damaged, cannot be read, or was read before.
std::optional<NtfsIndexBlock> NtfsIndex::ReadBlock(uint64_t block)
{
    const auto position = PositionOf(block);
    if (!position || !IsFirstVisit(*position))
        return std::nullopt;
    auto bytes = ReadExtentBytes(_volume, _blocks, *position, _blockBytes);
    if (!bytes)
        NoteTrouble(VolumeObstacle::kUnreadable);
    if (!bytes || !HasTextAt(*bytes, 0, "INDX") || !ApplyNtfsFixups(&*bytes) ||
        U64At(*bytes, 16) != block)
        return std::nullopt;
    const size_t firstAt = AfterFixups(*bytes);
    return NtfsIndexBlock::Parse(std::move(*bytes), kBlockHeaderAt, firstAt);
}

void NtfsIndex::Descend(uint64_t block)
{
    auto below = _path.size() < kDeepest ? ReadBlock(block) : std::nullopt;
    if (below)
        _path.push_back(std::move(*below));
    else
        NoteTrouble(VolumeObstacle::kDamaged);
}

// Goes to the next entry that stands for a file; false after the last one.
bool NtfsIndex::StepToEntry()
{
    while (!_path.empty()) {
        if (_hasGivenEntry && !_path.back().Advance()) {
            NoteTrouble(VolumeObstacle::kDamaged);
            _path.pop_back();  // to an entry that was not given yet, only the blocks below it
            _hasGivenEntry = false;
            continue;
        }
        _hasGivenEntry = false;
        _isInDoubt = _isInDoubt || !_path.back().IsConsistent();
        if (const auto below = _path.back().TakeBlockBelow())
            Descend(*below);
        else if (!_path.back().IsAtEnd())
            return true;
        else
            _path.pop_back();
    }
    return false;
}

bool NtfsIndex::Next(NtfsReference *file, NtfsIndexName *name)
{
    while (StepToEntry()) {
        _hasGivenEntry = true;
        auto found = _path.back().Name();
        if (found) {
            *file = _path.back().File();
            *name = std::move(*found);
            return true;
        }
        NoteTrouble(VolumeObstacle::kDamaged);
    }
    return false;
}

}  // namespace vx
