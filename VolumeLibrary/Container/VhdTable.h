// The table of blocks of a VHD image, read once as a whole before the disk is: which places of the
// file two blocks claim, or a block and the image's own structures.
//
// Memory: that of PieceClaims while it runs, then its list of contested places.
#pragma once

#include "VhdBlocks.h"

namespace vx {

struct VhdTable {
    ByteRanges contested;    // sorted; of the file
    bool isComplete = true;  // false: the image is too large to compare all its blocks

    // beside: what lies in the file beside the table and the blocks. Errors: none but of memory;
    // parts of the table that cannot be read are left out.
    static VhdTable Examine(const ByteSource &file, const VhdBlocks::Shape &shape,
                            ByteRanges beside);
};

}  // namespace vx
