#include "SectorNumbers.h"

#include <cstring>

namespace vx::bitlocker {

void putSectorNumbers(uint8_t *blocks, size_t count, size_t stride, uint64_t first, uint64_t step,
                      uint8_t mark)
{
    for (size_t k = 0; k < count; ++k, blocks += stride, first += step) {
        for (int i = 0; i < 8; ++i)
            blocks[i] = static_cast<uint8_t>(first >> (8 * i));
        std::memset(blocks + 8, 0, kAesBlock - 8);
        blocks[kAesBlock - 1] = mark;
    }
}

void xorBytes(uint8_t *target, const uint8_t *other, size_t length)
{
    for (size_t i = 0; i < length; ++i)
        target[i] ^= other[i];
}

}  // namespace vx::bitlocker
