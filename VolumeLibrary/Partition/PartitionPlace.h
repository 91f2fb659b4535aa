// Where a partition lies and what it is for, according to a partition table.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

// How Windows uses a partition.
enum class PartitionUse {
    kOrdinary,
    kDynamicDisk,    // its volumes consist of pieces, perhaps on several disks
    kStorageSpaces,  // a pool; never a file system
};

struct PartitionPlace {
    uint64_t firstSector = 0;
    uint64_t sectors = 0;
    std::string name;  // UTF-8; may be empty
    PartitionUse use = PartitionUse::kOrdinary;
    std::string type;  // as PartitionTypes.h names it
};

}  // namespace vx
