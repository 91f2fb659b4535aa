// Arrays of 16-byte little-endian numbers, from which initial vectors, tweaks and sector keys
// are made by one encryption call for a whole run of sectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vx::bitlocker {

constexpr size_t kAesBlock = 16;

// Writes count blocks, stride bytes apart: first, first + step, first + 2 * step, ...
// The top byte of each block is mark.
void PutSectorNumbers(uint8_t *blocks, size_t count, size_t stride, uint64_t first, uint64_t step,
                      uint8_t mark = 0);

// target[i] ^= other[i]. Here, because a call for each sector can be measured.
inline void XorBlock(uint8_t *target, const uint8_t *other)
{
    uint64_t a[2];
    uint64_t b[2];
    std::memcpy(a, target, kAesBlock);
    std::memcpy(b, other, kAesBlock);
    a[0] ^= b[0];
    a[1] ^= b[1];
    std::memcpy(target, a, kAesBlock);
}

}  // namespace vx::bitlocker
