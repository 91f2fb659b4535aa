// Where a table of partitions says that one of them lies, and what it is for.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

// What Windows makes of a partition, as far as that matters to its reader.
enum class PartitionUse {
    kOrdinary,
    kDynamicDisk,    // volumes are made of pieces, perhaps on several disks
    kStorageSpaces,  // a pool; never a file system
};

struct PartitionPlace {
    uint64_t firstSector = 0;
    uint64_t sectors = 0;
    std::string name;  // what the table says of it, UTF-8; may be empty
    PartitionUse use = PartitionUse::kOrdinary;
};

}  // namespace vx
