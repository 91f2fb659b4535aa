#include "HeapLimit.h"

#include "Require.h"

#include <atomic>
#include <sanitizer/allocator_interface.h>

namespace vx {
namespace {

std::atomic<bool> isCounting{false};
std::atomic<long> bytes{0};

void Count(const volatile void *, size_t size)
{
    if (isCounting)
        Require((bytes += static_cast<long>(size)) <= HeapLimit::kMostBytes, "64 MiB are enough");
}

void Discount(const volatile void *block)
{
    if (isCounting && block != nullptr)
        bytes -= static_cast<long>(__sanitizer_get_allocated_size(block));
}

}  // namespace

HeapLimit::HeapLimit()
{
    static const int installed = __sanitizer_install_malloc_and_free_hooks(Count, Discount);
    Require(installed != 0, "the heap can be watched");
    bytes = 0;
    isCounting = true;
}

HeapLimit::~HeapLimit()
{
    isCounting = false;
}

}  // namespace vx
