#include "FatChain.h"

#include "ByteReader.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>

namespace vx {
namespace {

// No file needs more; each takes 32 bytes of memory.
constexpr size_t kMostRuns = size_t{1} << 19;
constexpr uint64_t kMostSearchedBytes = uint64_t{16} << 20;

// Detects that a chain goes in circles, after three rounds at most: compares each cluster with an
// earlier one, which moves on each time the length of the chain doubles.
class CircleCheck {
public:
    bool HasComeBackTo(uint32_t cluster)
    {
        if (cluster == _met)
            return true;
        if (++_steps == _next) {
            _met = cluster;
            _next *= 2;
        }
        return false;
    }

private:
    uint32_t _met = 0;  // no cluster has this number
    uint64_t _steps = 0;
    uint64_t _next = 1;
};

// Keeps each cluster of a chain once: the runs end before the first one that repeats.
void CutAtFirstRepeat(std::vector<FileRun> *runs)
{
    std::map<uint64_t, uint64_t> used;  // beginnings and ends on the volume, apart from each other
    for (size_t i = 0; i < runs->size(); ++i) {
        FileRun &run = (*runs)[i];
        auto next = used.upper_bound(run.offset);
        if (next != used.begin() && std::prev(next)->second > run.offset)
            --next;
        if (next != used.end() && next->first < run.offset + run.length) {
            run.length = std::max(next->first, run.offset) - run.offset;
            runs->resize(run.length > 0 ? i + 1 : i);
            return;
        }
        used.emplace(run.offset, run.offset + run.length);
    }
}

unsigned BitsOf(FatGeometry::Kind kind)
{
    switch (kind) {
    case FatGeometry::Kind::k12:
        return 12;
    case FatGeometry::Kind::k16:
        return 16;
    case FatGeometry::Kind::k32:
    case FatGeometry::Kind::kExfat:
        break;
    }
    return 32;
}

uint32_t MaskOf(FatGeometry::Kind kind)
{
    switch (kind) {
    case FatGeometry::Kind::k12:
        return 0xFFF;
    case FatGeometry::Kind::k16:
        return 0xFFFF;
    case FatGeometry::Kind::k32:
        return 0x0FFFFFFF;
    case FatGeometry::Kind::kExfat:
        break;
    }
    return 0xFFFFFFFF;
}

}  // namespace

// One way along a chain.
class FatChain::Walk {
public:
    Walk(const FatChain &chain, unsigned copy, uint32_t firstCluster)
        : _chain(chain), _copy(copy), _cluster(firstCluster)
    {
    }

    // Takes the cluster where it is and moves on to the next one; false where the chain breaks.
    bool Take();
    // Nothing can be said of a next cluster that cannot be read.
    bool MayBeAtEnd() const { return !_cluster || _chain.IsEnd(*_cluster); }
    bool IsAtEnd() const { return _cluster && _chain.IsEnd(*_cluster); }
    uint64_t Bytes() const { return _bytes; }
    bool Break(VolumeObstacle obstacle);
    FatRuns Found();

private:
    bool IsOfAnotherChain(uint32_t cluster) const;
    uint32_t After(uint32_t cluster) const;

    const FatChain &_chain;
    const unsigned _copy;
    std::optional<uint32_t> _cluster;  // nothing if the table cannot be read there
    uint32_t _previous = 0;
    uint64_t _bytes = 0;
    CircleCheck _circle;
    FatRuns _found;
};

bool FatChain::Walk::Break(VolumeObstacle obstacle)
{
    _found.obstacle = obstacle;
    return false;
}

// A chain that is whole cannot have gone in circles.
FatRuns FatChain::Walk::Found()
{
    if (_found.obstacle != VolumeObstacle::kNone)
        CutAtFirstRepeat(&_found.runs);
    return std::move(_found);
}

bool FatChain::Walk::Take()
{
    if (!_cluster)
        return Break(VolumeObstacle::kUnreadable);
    if (!_chain.IsOnVolume(*_cluster) || IsOfAnotherChain(*_cluster) ||
        _circle.HasComeBackTo(*_cluster))
        return Break(VolumeObstacle::kDamaged);
    if (_found.runs.size() == kMostRuns)
        return Break(VolumeObstacle::kOutOfMemory);
    AppendRun(_chain.RunOf(*_cluster, _bytes), &_found.runs);
    _bytes += _chain._geometry.clusterBytes;
    _previous = *_cluster;
    _cluster = _chain.NextOf(*_cluster, _copy);
    return true;
}

// If two clusters lead to the same one, it belongs to the cluster right in front of it. exFAT
// leaves the entries of deleted files as they are, so there this is unknown.
bool FatChain::Walk::IsOfAnotherChain(uint32_t cluster) const
{
    const bool isJump = _bytes > 0 && cluster != _previous + 1;
    if (!isJump || _chain._geometry.kind == FatGeometry::Kind::kExfat)
        return false;
    return After(cluster - 1) == cluster;
}

uint32_t FatChain::Walk::After(uint32_t cluster) const
{
    return _chain.IsOnVolume(cluster) ? _chain.NextOf(cluster, _copy).value_or(0) : 0;
}

FatChain::FatChain(const CachedSource &tables, const FatGeometry &geometry)
    : _tables(tables), _geometry(geometry)
{
}

bool FatChain::IsEnd(uint32_t entry) const
{
    const uint32_t mask = MaskOf(_geometry.kind);
    return entry >= (mask & ~7u) && entry <= mask;
}

FileRun FatChain::RunOf(uint32_t cluster, uint64_t position) const
{
    const uint64_t index = cluster - FatGeometry::kFirstCluster;
    return {position, _geometry.clusterBytes,
            _geometry.clustersOffset + index * _geometry.clusterBytes, FileRun::Kind::kStored};
}

std::optional<uint32_t> FatChain::EntryOf(uint32_t cluster, unsigned copy) const
{
    std::array<uint8_t, 4> bytes = {};
    const FatGeometry::Kind kind = _geometry.kind;
    const bool is12 = kind == FatGeometry::Kind::k12;
    const bool isShort = is12 || kind == FatGeometry::Kind::k16;
    const uint64_t table = _geometry.tableOffset + copy * _geometry.tableBytes;
    const uint64_t offset = is12 ? cluster + cluster / 2 : uint64_t{cluster} * (isShort ? 2 : 4);
    if (_tables.ReadAt(table + offset, bytes.data(), isShort ? 2 : 4))
        return std::nullopt;
    if (is12)
        return cluster % 2 == 0 ? U16At(bytes, 0) & 0xFFFu : U16At(bytes, 0) >> 4u;
    return U32At(bytes, 0) & MaskOf(kind);
}

// What follows the cluster according to this copy of the table, or to another one if this one
// cannot be read or is not valid there.
std::optional<uint32_t> FatChain::NextOf(uint32_t cluster, unsigned copy) const
{
    std::optional<uint32_t> found;
    for (unsigned i = 0; i < _geometry.tableCopies; ++i) {
        const auto entry = EntryOf(cluster, (copy + i) % _geometry.tableCopies);
        if (entry && (IsOnVolume(*entry) || IsEnd(*entry)))
            return entry;
        if (!found)
            found = entry;
    }
    return found;
}

template <typename Following>
FatRuns FatChain::BestOfCopies(Following following) const
{
    FatRuns best = following(0);
    for (unsigned copy = 1; copy < _geometry.tableCopies; ++copy) {
        if (best.obstacle == VolumeObstacle::kNone)
            break;
        FatRuns other = following(copy);
        if (other.obstacle == VolumeObstacle::kNone || other.Bytes() > best.Bytes())
            best = std::move(other);
    }
    return best;
}

FatRuns FatChain::Follow(uint32_t firstCluster, uint64_t size) const
{
    if (size == 0 && (firstCluster == 0 || _geometry.kind == FatGeometry::Kind::kExfat))
        return {};
    return BestOfCopies([&](unsigned copy) { return FollowIn(copy, firstCluster, size); });
}

FatRuns FatChain::FollowIn(unsigned copy, uint32_t firstCluster, uint64_t size) const
{
    Walk walk(*this, copy, firstCluster);
    while (walk.Bytes() < size) {
        if (!walk.Take())
            return walk.Found();
    }
    if (!walk.MayBeAtEnd())
        walk.Break(VolumeObstacle::kDamaged);
    return walk.Found();
}

FatRuns FatChain::FollowToEnd(uint32_t firstCluster, uint64_t most) const
{
    return BestOfCopies([&](unsigned copy) { return FollowToEndIn(copy, firstCluster, most); });
}

FatRuns FatChain::FollowToEndIn(unsigned copy, uint32_t firstCluster, uint64_t most) const
{
    Walk walk(*this, copy, firstCluster);
    while (walk.Take() && !walk.IsAtEnd()) {
        if (walk.Bytes() >= most) {
            walk.Break(VolumeObstacle::kDamaged);
            break;
        }
    }
    return walk.Found();
}

FatRuns FatChain::Contiguous(uint32_t firstCluster, uint64_t size) const
{
    if (size == 0)
        return {};
    if (!IsOnVolume(firstCluster))
        return {{}, VolumeObstacle::kDamaged};
    const uint64_t wanted = (size - 1) / _geometry.clusterBytes + 1;
    const uint64_t there = _geometry.lastCluster - firstCluster + 1;
    FileRun run = RunOf(firstCluster, 0);
    run.length = std::min(wanted, there) * _geometry.clusterBytes;
    return {{run}, wanted > there ? VolumeObstacle::kDamaged : VolumeObstacle::kNone};
}

// A copy that is damaged or cannot be read says nothing.
std::optional<bool> FatChain::HasOthersThan(const std::vector<FileRun> &own) const
{
    std::optional<bool> found;
    for (unsigned copy = 0; copy < _geometry.tableCopies; ++copy) {
        const auto here = IsTableGood(copy) ? HasOthersIn(copy, own) : std::nullopt;
        if (here.value_or(false))
            return true;
        if (here)
            found = here;
    }
    return found;
}

std::optional<bool> FatChain::HasOthersIn(unsigned copy, const std::vector<FileRun> &own) const
{
    const uint64_t clusters =
        kMostSearchedBytes / _geometry.tableCopies * 8 / BitsOf(_geometry.kind);
    const uint64_t end = std::min<uint64_t>(clusters, uint64_t{_geometry.lastCluster} + 1);
    for (uint32_t cluster = FatGeometry::kFirstCluster; cluster < end; ++cluster) {
        const auto entry = EntryOf(cluster, copy);
        if (!entry)
            return std::nullopt;
        const bool isInUse = IsOnVolume(*entry) || IsEnd(*entry);
        const uint64_t place = RunOf(cluster, 0).offset;
        if (isInUse && std::none_of(own.begin(), own.end(), [place](const FileRun &run) {
                return place >= run.offset && place - run.offset < run.length;
            }))
            return true;
    }
    return false;
}

bool FatChain::IsTableGood(unsigned copy) const
{
    const auto first = EntryOf(0, copy);
    return first && (*first & 0xFF) == _geometry.media && (*first | 0xFF) == MaskOf(_geometry.kind);
}

}  // namespace vx
