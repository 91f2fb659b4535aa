#include "AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> g_alive{0};

}  // namespace

long AllocationCount()
{
    return g_alive;
}

void *operator new(size_t size)
{
    void *block = malloc(size == 0 ? 1 : size);
    if (!block)
        abort();
    ++g_alive;
    return block;
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void operator delete(void *block) noexcept
{
    if (block)
        --g_alive;
    free(block);
}

void operator delete[](void *block) noexcept
{
    operator delete(block);
}

void operator delete(void *block, size_t) noexcept
{
    operator delete(block);
}

void operator delete[](void *block, size_t) noexcept
{
    operator delete(block);
}
