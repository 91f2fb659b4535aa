// Where a table of partitions says that one of them lies.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

struct PartitionPlace {
    uint64_t firstSector = 0;
    uint64_t sectors = 0;
    std::string name;  // what the table says of it, UTF-8; may be empty
};

}  // namespace vx
