// An image of FAT12, FAT16 or FAT32 that a test damages entry by entry, in its folders, where it
// finds entries by short names, and in its allocation tables.
#pragma once

#include "FatGeometry.h"

#include <string>
#include <vector>

namespace vx {

class FatImage {
public:
    // Values of an entry of the table; cut to the width of the kind.
    static constexpr uint32_t kFree = 0;
    static constexpr uint32_t kBad = 0x0FFFFFF7;
    static constexpr uint32_t kLast = 0x0FFFFFFF;

    explicit FatImage(std::string made);

    // Where a cluster begins.
    size_t PlaceOf(uint32_t cluster) const;
    // The place of the entry with this short name in the form of the disk, "NAME    EXT"; a test
    // failure if there is none.
    size_t EntryAt(const std::string &shortName) const;
    uint32_t FirstClusterOf(const std::string &shortName) const;
    uint32_t NextOf(uint32_t cluster) const;
    std::vector<uint32_t> ChainOf(const std::string &shortName) const;
    // Sets a cluster's entry in one copy of the table, or in all of them.
    void PutNext(uint32_t cluster, uint32_t next, unsigned copy);
    void PutNext(uint32_t cluster, uint32_t next);

    std::string bytes;
    FatGeometry geometry;

private:
    size_t TableAt(uint32_t cluster, unsigned copy) const;
};

}  // namespace vx
