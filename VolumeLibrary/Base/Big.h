// Numbers as VHD images store them: big-endian, at any place.
#pragma once

#include <cstdint>

namespace vx {

inline uint32_t Big32(const uint8_t *at)
{
    return static_cast<uint32_t>(at[0]) << 24 | static_cast<uint32_t>(at[1]) << 16 |
           static_cast<uint32_t>(at[2]) << 8 | at[3];
}

inline uint64_t Big64(const uint8_t *at)
{
    return static_cast<uint64_t>(Big32(at)) << 32 | Big32(at + 4);
}

}  // namespace vx
