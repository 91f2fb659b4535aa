#include "MemoryProtection.h"

#include <openssl/crypto.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace vx::bitlocker {

void *allocateProtectedMemory(size_t size)
{
    void *memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    // Refusal is no failure: the limit on locked memory may be zero.
    (void)::mlock(memory, size);
    (void)::madvise(memory, size, MADV_DONTDUMP);
    return memory;
}

void releaseProtectedMemory(void *memory, size_t size)
{
    OPENSSL_cleanse(memory, size);
    ::munmap(memory, size);  // unlocks it too
}

void forbidCoreDumps()
{
    const rlimit none = {0, 0};
    (void)::setrlimit(RLIMIT_CORE, &none);
    // Core dumps that go to a program by a pipe do not heed that limit.
    (void)::prctl(PR_SET_DUMPABLE, 0);
}

}  // namespace vx::bitlocker
