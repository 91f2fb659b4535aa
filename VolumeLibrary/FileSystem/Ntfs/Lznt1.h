// The compression of NTFS.
#pragma once

#include "ByteView.h"

namespace vx {

// Decompresses a unit to exactly capacity bytes, what it does not hold being zeros. Returns how
// many of them are right: all, or those of the chunks before one that is damaged. isWhole: false if
// packed is only what could be read of the unit's beginning; it then holds nothing of what follows.
size_t DecompressLznt1(ByteView packed, bool isWhole, uint8_t *bytes, size_t capacity);

}  // namespace vx
