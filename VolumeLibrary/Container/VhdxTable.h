// The table of blocks of a VHDX file, read once as a whole before the disk is: what of the disk the
// file lacks, and which of its places two blocks claim. Nothing in such a place can be trusted,
// since one of its entries is wrong.
//
// Memory: a bit for each MiB of the file while it runs, 16 MiB at most; then 64 KiB for
// the list of contested places, which says too much rather than too little.
#pragma once

#include "VhdxBlocks.h"
#include "VhdxRegions.h"

#include <vector>

namespace vx {

struct VhdxTable {
    uint64_t missingBytes = 0;  // of the disk, beyond the end of the file or of the table
    uint64_t unreadBytes = 0;   // of the table
    ByteRanges contested;       // sorted; of the file

    // file: after the replay of the log. taken: what else lies in the file; the first MiB is taken
    // anyway. Errors: none but of memory; what cannot be read is counted.
    static VhdxTable Examine(const ByteSource &file, const VhdxBlocks::Shape &shape,
                             const std::vector<VhdxRegion> &taken);
};

}  // namespace vx
