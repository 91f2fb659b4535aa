// Distinguishes ext2, ext3 and ext4. Their mark has only two bytes, so more of the superblock is
// checked. Format: the documentation of the Linux kernel, "ext4 Data Structures and Algorithms",
// The Super Block.
#pragma once

#include "KnownContents.h"

namespace vx {

// Null if it is none of them, or cannot be read.
const KnownContents *FindExtFileSystem(const ByteSource &source);

}  // namespace vx
