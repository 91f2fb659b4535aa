// What the platform offers to keep keys off the swap space and out of core dumps.
#pragma once

#include <cstddef>

namespace vx::bitlocker {

// Pages of zeros for keys: locked into memory and left out of core dumps where the platform
// can do so and the process's limits allow it. Null when there is no memory. Units: bytes.
void *allocateProtectedMemory(size_t size);
// Wipes and returns them. size: as allocated.
void releaseProtectedMemory(void *memory, size_t size);

// Asks the platform not to write a core dump of this process at all. The ciphers' key
// schedules lie in libcrypto's own memory, which cannot be left out piece by piece, so a
// program that opens an encrypted volume calls this once before. A debugger of the same user
// can no longer attach afterwards (Linux).
void forbidCoreDumps();

}  // namespace vx::bitlocker
