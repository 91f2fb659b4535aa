// Kinds of image files that cannot be read, told by their first bytes, so that they are not
// taken for raw images without a file system.
#pragma once

#include "Bitlocker/ByteView.h"

namespace vx {

constexpr size_t kContainerProbeBytes = 512;

// "a VHDX image"; null for everything else. head: the first kContainerProbeBytes, or fewer if
// the file is shorter.
const char *UnsupportedContainer(bitlocker::ByteView head);

// "E01", if the file is an image of a format of its own that libtsk reads; otherwise null.
const char *TskContainer(bitlocker::ByteView head);

}  // namespace vx
