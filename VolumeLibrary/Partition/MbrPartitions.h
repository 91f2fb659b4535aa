// The partitions of a disk with a master boot record, those in extended partitions as well.
#pragma once

#include "ByteSource.h"
#include "PartitionPlace.h"

#include <vector>

namespace vx {

struct MbrPartitions {
    std::vector<PartitionPlace> places;  // empty if there is no such table
    bool protectsGpt = false;            // it says that a GUID table is the one to read
    Error unread;                        // why a table could not be read; or none

    // sectorBytes: what the table counts in. A chain of extended partitions ends where it is
    // damaged, comes back to itself or has more links than any disk.
    static MbrPartitions Read(const ByteSource &disk, uint64_t sectorBytes);
};

}  // namespace vx
