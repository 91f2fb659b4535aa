// Sizes of sectors, clusters and blocks are powers of two.
#pragma once

#include <cstdint>

namespace vx {

inline bool IsPowerOfTwo(uint64_t value)
{
    return value != 0 && (value & (value - 1)) == 0;
}

}  // namespace vx
