// The list of runs of an attribute: where its clusters lie.
#pragma once

#include "ByteView.h"
#include "ExtentFile.h"

namespace vx {

struct NtfsGeometry {
    uint32_t clusterBytes = 0;
    uint32_t recordBytes = 0;
    uint64_t clusters = 0;  // of the volume
};

// Appends the runs, of which the first begins at firstCluster of the stream, to those that are
// already there. False if the list is damaged, with the runs before the damage appended, or if it
// begins before they end.
bool AppendRuns(ByteView list, uint64_t firstCluster, const NtfsGeometry &geometry,
                std::vector<FileRun> *runs);

}  // namespace vx
