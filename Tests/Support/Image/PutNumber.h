// Writes little-endian numbers at any place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx {

// count: bytes. Throws beyond the end.
inline void PutNumber(std::vector<uint8_t> *bytes, size_t at, uint64_t value, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        bytes->at(at + i) = static_cast<uint8_t>(value >> (8 * i));
}

}  // namespace vx
