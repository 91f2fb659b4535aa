// The compression of NTFS.
#pragma once

#include "ByteView.h"

namespace vx {

// Decompresses a unit to exactly capacity bytes; what it does not hold is zeros. Returns how many
// of them are right: all, or those of the chunks before a damaged one. isWhole: false if packed is
// only the beginning of the unit, as far as it could be read.
size_t DecompressLznt1(ByteView packed, bool isWhole, uint8_t *bytes, size_t capacity);

}  // namespace vx
