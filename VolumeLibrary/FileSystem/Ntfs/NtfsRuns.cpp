#include "NtfsRuns.h"

#include "Little.h"

namespace vx {
namespace {

// No file needs more; each takes 32 bytes of memory.
constexpr size_t kMostRuns = size_t{1} << 19;
constexpr uint64_t kMostClusters = uint64_t{1} << 42;

// A number of 1 to 8 bytes, whose highest bit is its sign.
int64_t SignedNumber(const uint8_t *at, size_t bytes)
{
    uint64_t value = (at[bytes - 1] & 0x80) != 0 ? ~uint64_t{0} : 0;
    for (size_t i = bytes; i-- > 0;)
        value = value << 8 | at[i];
    return static_cast<int64_t>(value);
}

// One run of the list, which begins with the sizes of its two numbers.
struct Run {
    int64_t clusters = 0;
    int64_t distance = 0;  // of its first cluster from that of the run before
    bool isSparse = false;
};

bool TakeRun(ByteView *list, Run *run)
{
    const size_t lengthBytes = list->data[0] & 0xF;
    const size_t distanceBytes = list->data[0] >> 4;
    const size_t bytes = 1 + lengthBytes + distanceBytes;
    if (lengthBytes == 0 || lengthBytes > 8 || distanceBytes > 8 || bytes > list->size)
        return false;
    run->clusters = SignedNumber(list->data + 1, lengthBytes);
    run->isSparse = distanceBytes == 0;
    run->distance = run->isSparse ? 0 : SignedNumber(list->data + 1 + lengthBytes, distanceBytes);
    *list = list->From(bytes);
    return run->clusters > 0 && static_cast<uint64_t>(run->clusters) <= kMostClusters;
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
    while (list.size > 0 && list.data[0] != 0) {
        Run run;
        if (!TakeRun(&list, &run) || __builtin_add_overflow(cluster, run.distance, &cluster))
            return false;
        const auto length = static_cast<uint64_t>(run.clusters);
        const auto first = static_cast<uint64_t>(cluster);
        if (!run.isSparse && (first >= geometry.clusters || length > geometry.clusters - first))
            return false;
        if (position + length > kMostClusters || runs->size() == kMostRuns)
            return false;
        AppendRun({position * geometry.clusterBytes, length * geometry.clusterBytes,
                   run.isSparse ? 0 : first * geometry.clusterBytes,
                   run.isSparse ? FileRun::Kind::kZeros : FileRun::Kind::kStored},
                  runs);
        position += length;
    }
    return true;
}

}  // namespace vx
