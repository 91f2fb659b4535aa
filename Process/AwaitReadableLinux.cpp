#include "AwaitReadable.h"

#include <poll.h>

namespace vx {

Readable AwaitReadable(int first, int second)
{
    pollfd wanted[] = {{first, POLLIN, 0}, {second, POLLIN, 0}};
    if (poll(wanted, 2, -1) <= 0)
        return {};
    return {wanted[0].revents != 0, wanted[1].revents != 0};
}

}  // namespace vx
