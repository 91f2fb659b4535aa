// The partitions of a disk with a GUID partition table.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "PartitionPlace.h"

#include <vector>

namespace vx {

// sectorBytes: what the table counts in. Of the two tables of a disk the second one is read if
// the first one is damaged. Empty if there is none. unread: receives why not, if one could not be
// read and the other one is not there either.
std::vector<PartitionPlace> ReadGptPartitions(const bitlocker::ByteSource &disk,
                                              uint64_t sectorBytes, bitlocker::Error *unread);

}  // namespace vx
