// The partitions of a disk with a GUID partition table.
//
// A disk has two tables: one at its beginning and a backup at its end. The first one is used if it
// is sound; otherwise the backup; otherwise, for want of a better one, the one of them with fewer
// faults. What was not as it should be is noted.
#pragma once

#include "ByteSource.h"
#include "PartitionPlace.h"

#include <string>
#include <vector>

namespace vx {

struct GptPartitions {
    std::vector<PartitionPlace> places;  // empty if there is no table
    std::string note;                    // for a person; empty if the first table is sound
    bool areOfBackup = false;
    // Why there may be more partitions than those, or none.
    Error unread;

    // sectorBytes: what the table counts in.
    static GptPartitions Read(const ByteSource &disk, uint64_t sectorBytes);
};

}  // namespace vx
