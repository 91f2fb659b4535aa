#include "FailingAllocator.h"

#include <cstdlib>
#include <new>

namespace {

using As = vx::FailAllocation::As;

struct Defect {};

constexpr long kNever = -1;
thread_local As failureNow = As::kOutOfMemory;
thread_local long untilFailure = kNever;
thread_local bool happened = false;

bool MustFail()
{
    if (untilFailure == kNever)
        return false;
    happened = happened || untilFailure == 0;
    return untilFailure-- == 0;
}

}  // namespace

void *operator new(size_t size)
{
    const bool mustFail = MustFail();
    if (mustFail && failureNow == As::kDefect)
        throw Defect();
    void *memory = mustFail ? nullptr : std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}

namespace vx {

FailAllocation::FailAllocation(long number, As failure)
{
    failureNow = failure;
    happened = false;
    untilFailure = number;
}

FailAllocation::~FailAllocation()
{
    untilFailure = kNever;
}

bool FailAllocation::Happened() const
{
    return happened;
}

}  // namespace vx
