// The compression of NTFS.
#pragma once

#include "Bitlocker/ByteView.h"

namespace vx {

// Decompresses a unit to exactly capacity bytes, what it does not hold being zeros. False if it
// is damaged.
bool DecompressLznt1(bitlocker::ByteView packed, uint8_t *bytes, size_t capacity);

}  // namespace vx
