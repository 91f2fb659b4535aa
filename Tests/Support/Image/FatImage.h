// An image of FAT12, FAT16 or FAT32 that a test damages entry by entry: of its folders, which it
// finds by short names, and of its allocation tables.
#pragma once

#include "FatGeometry.h"

#include <string>
#include <vector>

namespace vx {

class FatImage {
public:
    // What every entry of the table may say; cut to the width of the kind.
    static constexpr uint32_t kFree = 0;
    static constexpr uint32_t kBad = 0x0FFFFFF7;
    static constexpr uint32_t kLast = 0x0FFFFFFF;

    explicit FatImage(std::string made);

    // Where a cluster begins.
    size_t PlaceOf(uint32_t cluster) const;
    // Where the entry of this short name is, as the disk has it: "NAME    EXT"; a test failure if
    // there is none.
    size_t EntryAt(const std::string &shortName) const;
    uint32_t FirstClusterOf(const std::string &shortName) const;
    uint32_t NextOf(uint32_t cluster) const;
    std::vector<uint32_t> ChainOf(const std::string &shortName) const;
    // What one copy of the table says of a cluster, or all of them.
    void PutNext(uint32_t cluster, uint32_t next, unsigned copy);
    void PutNext(uint32_t cluster, uint32_t next);

    std::string bytes;
    FatGeometry geometry;

private:
    size_t TableAt(uint32_t cluster, unsigned copy) const;
};

}  // namespace vx
