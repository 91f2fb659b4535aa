// The table of blocks of a VHDX file, read once as a whole before the disk is: what of the disk the
// file lacks, and which of its places two blocks claim. Nothing in such a place can be trusted,
// since one of its entries is wrong. What else in the table contradicts the image is counted.
//
// Memory: a bit for each MiB of the file while it runs, 16 MiB at most; then 64 KiB for
// the list of contested places, which says too much rather than too little. Reads the needed part
// of the table, kMostBeyond of the rest, and kMostLookedAt of blocks that are marked as zeros.
#pragma once

#include "VhdxBlocks.h"
#include "VhdxRegions.h"

#include <vector>

namespace vx {

struct VhdxTable {
    static constexpr uint64_t kMostBeyond = uint64_t{4} << 20;
    static constexpr uint64_t kMostLookedAt = uint64_t{64} << 20;

    uint64_t missingBytes = 0;  // of the disk, beyond the end of the file or of the table
    uint64_t unreadBytes = 0;   // of the table
    ByteRanges contested;       // sorted; of the file
    // Blocks that are marked as zeros, but have a place of their own with something else in it.
    uint64_t hiddenBlocks = 0;
    uint64_t blocksBeyond = 0;  // stored for places beyond the end of the disk
    uint64_t absentBlocks = 0;  // of the disk, that are marked as never written

    // file: after the replay of the log. taken: what else lies in the file; the first MiB is taken
    // anyway. Errors: none but of memory; what cannot be read is counted.
    static VhdxTable Examine(const ByteSource &file, const VhdxBlocks::Shape &shape,
                             const std::vector<VhdxRegion> &taken);
};

}  // namespace vx
