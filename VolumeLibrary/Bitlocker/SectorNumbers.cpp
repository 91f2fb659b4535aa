#include "SectorNumbers.h"

namespace vx::bitlocker {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "a half is stored as the machine holds it");

void PutSectorNumbers(uint8_t *blocks, size_t count, size_t stride, uint64_t first, uint64_t step,
                      uint8_t mark)
{
    for (size_t k = 0; k < count; ++k, blocks += stride, first += step) {
        const uint64_t halves[] = {first, uint64_t{mark} << 56};
        std::memcpy(blocks, halves, kAesBlock);
    }
}

}  // namespace vx::bitlocker
