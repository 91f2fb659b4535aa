// Overwrites bytes that nothing reads any more.
//
// Threads: any. Units: bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vx {

inline void Overwrite(void *bytes, size_t count)
{
    // Volatile, or the compiler would leave out writes that are never read.
    auto *const begin = static_cast<volatile uint8_t *>(bytes);
    for (size_t i = 0; i < count; ++i)
        begin[i] = 0;
}

}  // namespace vx
