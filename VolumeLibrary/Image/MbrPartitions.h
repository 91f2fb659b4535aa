// The partitions of a disk with a master boot record, those in extended partitions as well.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "PartitionPlace.h"

#include <vector>

namespace vx {

// sectorBytes: what the table counts in. Empty if there is no such table. A chain of extended
// partitions ends where it is damaged, comes back to itself or has more links than any disk.
// unread: receives why not, if a table could not be read.
std::vector<PartitionPlace> ReadMbrPartitions(const bitlocker::ByteSource &disk,
                                              uint64_t sectorBytes, bitlocker::Error *unread);

}  // namespace vx
