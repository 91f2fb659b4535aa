// Where the table of blocks and the metadata of a VHDX file lie.
//
// Format: [MS-VHDX], section 2.2.3. There are two copies of the table, each with a CRC-32C.
#pragma once

#include "ByteSource.h"

namespace vx {

struct VhdxRegion {
    uint64_t at = 0;     // a multiple of 1 MiB, and not 0
    uint64_t bytes = 0;  // a multiple of 1 MiB, and not 0

    uint64_t End() const { return at + bytes; }
};

struct VhdxRegions {
    VhdxRegion blocks;
    VhdxRegion metadata;
    bool isCopy = false;  // the first table is damaged or cannot be read
};

// file: after the replay of the log. Errors: those of the file's reads; kTruncatedImage if a region
// lies beyond its end; kDamagedContainer; kUnsupportedContainer for one that must be understood and
// is unknown.
Result<VhdxRegions> ReadVhdxRegions(const ByteSource &file);

}  // namespace vx
