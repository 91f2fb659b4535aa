// Memory for keys: locked, so that it is never written to the swap space, and left out of core
// dumps, if the platform and the limits of the process allow it.
#pragma once

#include <cstddef>

namespace vx::bitlocker {

// Zeros, on pages of their own. Null when there is no memory. size: in bytes, not 0.
void *AllocateProtectedMemory(size_t size);
// Wipes and returns them. size: as allocated.
void ReleaseProtectedMemory(void *memory, size_t size);

}  // namespace vx::bitlocker
