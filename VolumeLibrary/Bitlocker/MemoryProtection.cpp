#include "MemoryProtection.h"

#include "CoreDumps.h"

#include <openssl/crypto.h>
#include <sys/mman.h>

namespace vx::bitlocker {

void *AllocateProtectedMemory(size_t size)
{
    void *memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    // Refusal is not a failure: the limit on locked memory may be zero.
    (void)::mlock(memory, size);
    LeaveOutOfCoreDumps(memory, size);
    return memory;
}

void ReleaseProtectedMemory(void *memory, size_t size)
{
    OPENSSL_cleanse(memory, size);
    ::munmap(memory, size);  // unlocks it too
}

}  // namespace vx::bitlocker
