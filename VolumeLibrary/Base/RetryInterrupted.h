// Repeats a system call for as long as a signal interrupts it: RetryInterrupted([&] { ... }).
#pragma once

#include <cerrno>

namespace vx {

// Returns the call's first result that is not -1 with EINTR.
template <typename Call>
auto RetryInterrupted(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

}  // namespace vx
