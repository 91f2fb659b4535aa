// Numbers as disks store them: little-endian, at any place.
#pragma once

#include "PowerOfTwo.h"

#include <cstddef>
#include <cstdint>

namespace vx {

inline uint16_t Little16(const uint8_t *at)
{
    return static_cast<uint16_t>(at[0] | at[1] << 8);
}

inline uint32_t Little32(const uint8_t *at)
{
    return Little16(at) | static_cast<uint32_t>(Little16(at + 2)) << 16;
}

inline uint64_t Little64(const uint8_t *at)
{
    return Little32(at) | static_cast<uint64_t>(Little32(at + 4)) << 32;
}

}  // namespace vx
