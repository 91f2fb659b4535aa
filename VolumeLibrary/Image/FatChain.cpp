#include "FatChain.h"

#include "Little.h"

namespace vx {
namespace {

constexpr uint32_t kFirstCluster = 2;
// No file needs more; each takes 32 bytes of memory.
constexpr size_t kMostRuns = size_t{1} << 19;

// Notices that a chain goes in circles, at the latest when it has done so three times: compares
// each cluster with one that was met before, and takes a later one each time the way doubles.
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

FatChain::FatChain(const CachedSource &tables, const FatGeometry &geometry)
    : _tables(tables), _geometry(geometry)
{
}

bool FatChain::IsOnVolume(uint32_t cluster) const
{
    return cluster >= kFirstCluster && cluster <= _geometry.lastCluster;
}

bool FatChain::IsEnd(uint32_t entry) const
{
    const uint32_t mask = MaskOf(_geometry.kind);
    return entry >= (mask & ~7u) && entry <= mask;
}

Extent FatChain::ExtentOf(uint32_t cluster, uint64_t position) const
{
    const uint64_t index = cluster - kFirstCluster;
    return {position, _geometry.clusterBytes,
            _geometry.clustersOffset + index * _geometry.clusterBytes, Extent::Kind::kStored};
}

std::optional<uint32_t> FatChain::EntryOf(uint32_t cluster) const
{
    uint8_t bytes[4] = {};
    const FatGeometry::Kind kind = _geometry.kind;
    const bool is12 = kind == FatGeometry::Kind::k12;
    const bool isShort = is12 || kind == FatGeometry::Kind::k16;
    const uint64_t offset = is12 ? cluster + cluster / 2 : uint64_t{cluster} * (isShort ? 2 : 4);
    if (_tables.readAt(_geometry.tableOffset + offset, bytes, isShort ? 2 : 4))
        return std::nullopt;
    if (is12)
        return cluster % 2 == 0 ? Little16(bytes) & 0xFFFu : Little16(bytes) >> 4u;
    return Little32(bytes) & MaskOf(kind);
}

std::optional<std::vector<Extent>> FatChain::Follow(uint32_t firstCluster, uint64_t size) const
{
    std::vector<Extent> runs;
    if (size / _geometry.clusterBytes > _geometry.lastCluster)
        return std::nullopt;
    CircleCheck circle;
    uint32_t cluster = firstCluster;
    for (uint64_t position = 0; position < size; position += _geometry.clusterBytes) {
        if (!IsOnVolume(cluster) || circle.HasComeBackTo(cluster) || runs.size() == kMostRuns)
            return std::nullopt;
        AppendExtent(ExtentOf(cluster, position), &runs);
        if (size - position <= _geometry.clusterBytes)
            break;
        const auto next = EntryOf(cluster);
        if (!next)
            return std::nullopt;
        cluster = *next;
    }
    return runs;
}

std::optional<std::vector<Extent>> FatChain::FollowToEnd(uint32_t firstCluster, uint64_t most) const
{
    std::vector<Extent> runs;
    uint32_t cluster = firstCluster;
    for (uint64_t position = 0; !IsEnd(cluster); position += _geometry.clusterBytes) {
        if (!IsOnVolume(cluster) || position >= most)
            return std::nullopt;
        AppendExtent(ExtentOf(cluster, position), &runs);
        const auto next = EntryOf(cluster);
        if (!next)
            return std::nullopt;
        cluster = *next;
    }
    return runs;
}

std::optional<std::vector<Extent>> FatChain::Contiguous(uint32_t firstCluster, uint64_t size) const
{
    std::vector<Extent> runs;
    if (size == 0)
        return runs;
    const uint64_t clusters = (size - 1) / _geometry.clusterBytes + 1;
    if (!IsOnVolume(firstCluster) || clusters > _geometry.lastCluster - firstCluster + 1)
        return std::nullopt;
    Extent run = ExtentOf(firstCluster, 0);
    run.length = clusters * _geometry.clusterBytes;
    runs.push_back(run);
    return runs;
}

bool FatChain::IsTableGood(uint8_t media) const
{
    const auto first = EntryOf(0);
    return first && (*first & 0xFF) == media && (*first | 0xFF) == MaskOf(_geometry.kind);
}

}  // namespace vx
