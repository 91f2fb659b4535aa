// Not by poll, which does not know terminals on macOS.
#include "AwaitReadable.h"

#include <algorithm>
#include <sys/select.h>

namespace vx {

Readable AwaitReadable(int first, int second)
{
    // A set has no room for larger numbers. The caller then reads at once, and a signal is seen
    // after the line.
    if (std::max(first, second) >= FD_SETSIZE)
        return {true, false};
    fd_set wanted;
    FD_ZERO(&wanted);
    FD_SET(first, &wanted);
    FD_SET(second, &wanted);
    if (select(std::max(first, second) + 1, &wanted, nullptr, nullptr, nullptr) <= 0)
        return {};
    return {FD_ISSET(first, &wanted) != 0, FD_ISSET(second, &wanted) != 0};
}

}  // namespace vx
