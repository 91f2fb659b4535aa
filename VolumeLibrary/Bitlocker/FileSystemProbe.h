// Whether a sector looks like the first one of a file system. Enough to see that a guess about
// the volume was right; whether the file system is sound is for others to say.
#pragma once

#include "ByteView.h"

namespace vx::bitlocker {

// sector: 512 bytes at least.
bool LooksLikeFileSystem(ByteView sector);
// Bytes per sector as the file system says them; 0 if it does not.
uint32_t StatedSectorSize(ByteView sector);

}  // namespace vx::bitlocker
