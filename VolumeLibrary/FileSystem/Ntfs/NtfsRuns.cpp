#include "NtfsRuns.h"

#include "ByteReader.h"

#include <optional>

namespace vx {
namespace {

// No file needs more; each takes 32 bytes of memory.
constexpr size_t kMostRuns = size_t{1} << 19;
constexpr uint64_t kMostClusters = uint64_t{1} << 42;

// A number of 1 to 8 bytes, the highest bit of which is its sign.
int64_t SignedNumber(ByteView bytes)
{
    uint64_t value = (U8At(bytes, bytes.size - 1) & 0x80) != 0 ? ~uint64_t{0} : 0;
    for (size_t i = bytes.size; i-- > 0;)
        value = value << 8 | bytes.data[i];
    return static_cast<int64_t>(value);
}

struct ListedRun {
    int64_t clusters = 0;
    int64_t distance = 0;  // of its first cluster from that of the run before
    bool isSparse = false;
};

// Takes the first run off the list: a byte with the sizes of two numbers, and the numbers. Nothing
// if it is damaged.
std::optional<ListedRun> TakeRun(ByteView *list)
{
    ByteReader reader(*list);
    const uint8_t sizes = reader.U8();
    const ByteView clusters = reader.Bytes(sizes & 0xF);
    const ByteView distance = reader.Bytes(sizes >> 4);
    if (!reader.Good() || clusters.size == 0 || clusters.size > 8 || distance.size > 8)
        return std::nullopt;
    ListedRun run;
    run.clusters = SignedNumber(clusters);
    run.isSparse = distance.size == 0;
    run.distance = run.isSparse ? 0 : SignedNumber(distance);
    *list = reader.Rest();
    const bool isGood = run.clusters > 0 && static_cast<uint64_t>(run.clusters) <= kMostClusters;
    return isGood ? std::optional(run) : std::nullopt;
}

}  // namespace

bool AppendRuns(ByteView list, uint64_t firstCluster, const NtfsGeometry &geometry,
                std::vector<FileRun> *runs)
{
    const uint64_t end = runs->empty() ? 0 : runs->back().position + runs->back().length;
    if (firstCluster > kMostClusters || firstCluster * geometry.clusterBytes < end)
        return false;
    uint64_t position = firstCluster;
    int64_t cluster = 0;
    while (U8At(list, 0) != 0) {
        const auto run = TakeRun(&list);
        if (!run || __builtin_add_overflow(cluster, run->distance, &cluster))
            return false;
        const auto length = static_cast<uint64_t>(run->clusters);
        const auto first = static_cast<uint64_t>(cluster);
        if (!run->isSparse && (first >= geometry.clusters || length > geometry.clusters - first))
            return false;
        if (position + length > kMostClusters || runs->size() == kMostRuns)
            return false;
        AppendRun({position * geometry.clusterBytes, length * geometry.clusterBytes,
                   run->isSparse ? 0 : first * geometry.clusterBytes,
                   run->isSparse ? FileRun::Kind::kZeros : FileRun::Kind::kStored},
                  runs);
        position += length;
    }
    return true;
}

}  // namespace vx
