// The partitions of a disk with a master boot record, including those in extended partitions.
#pragma once

#include "ByteSource.h"
#include "PartitionPlace.h"

#include <vector>

namespace vx {

struct MbrPartitions {
    std::vector<PartitionPlace> places;  // empty if there is no such table
    bool protectsGpt = false;            // it refers to a GUID table
    Error unread;                        // why a table could not be read, or none

    // sectorBytes: the unit of the table. A chain of extended partitions ends where it is damaged,
    // repeats itself or has more links than any disk.
    static MbrPartitions Read(const ByteSource &disk, uint64_t sectorBytes);
};

}  // namespace vx
