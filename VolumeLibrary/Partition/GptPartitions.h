// The partitions of a disk with a GUID partition table.
//
// A disk has two tables: one at its beginning and a backup at its end. The first table is used
// unless it is missing or the backup has fewer faults: a wrong place, a wrong checksum of the
// header or a wrong checksum of the entries. A backup in a wrong place is not used.
#pragma once

#include "ByteSource.h"
#include "PartitionPlace.h"

#include <string>
#include <vector>

namespace vx {

struct GptPartitions {
    std::vector<PartitionPlace> places;  // empty if there is no table
    // For the user: which table was used, unless there is none or the first one is sound and its
    // backup lies on the disk.
    std::string note;
    bool areOfBackup = false;
    Error unread;  // why a part of the table, or all of it, could not be read; or none

    // sectorBytes: the unit of the table.
    static GptPartitions Read(const ByteSource &disk, uint64_t sectorBytes);
};

}  // namespace vx
