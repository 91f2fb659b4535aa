// What a VHDX file says about its disk, and about the parent of a differencing one.
//
// Format: [MS-VHDX], section 2.6. Sizes and places of the items are checked against the region.
// Memory: 64 KiB for the table and at most 64 KiB for an item.
#pragma once

#include "ByteSource.h"
#include "VhdxRegions.h"

#include <string>
#include <vector>

namespace vx {

struct VhdxMetadata {
    static constexpr uint64_t kLargestDisk = uint64_t{64} << 40;

    uint64_t diskBytes = 0;    // at most kLargestDisk
    uint32_t blockBytes = 0;   // a power of two from 1 MiB to 256 MiB
    uint32_t sectorBytes = 0;  // 512 or 4096
    bool isFixed = false;      // all blocks are meant to be in the file
    bool hasParent = false;
    // Of the parent: what VhdxHeader::dataWrite may be, in small letters without braces, not empty;
    // and its paths.
    std::vector<std::string> parentIds = {};
    std::vector<std::string> parentPaths = {};
};

// file: after the replay of the log. Errors: those of the file's reads; kDamagedContainer;
// kUnsupportedContainer for an item that must be understood and is unknown, and for a parent that
// is no VHDX image.
Result<VhdxMetadata> ReadVhdxMetadata(const ByteSource &file, const VhdxRegion &region);

}  // namespace vx
