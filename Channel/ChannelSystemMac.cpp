#include "ChannelSystem.h"

#include <fcntl.h>
#include <sys/socket.h>

namespace vx {

const int kChannelSendFlags = 0;

bool MakeChannelPair(UniqueFd *one, UniqueFd *other)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        return false;
    *one = UniqueFd(ends[0]);
    *other = UniqueFd(ends[1]);
    for (const int end : ends) {
        // 8 KiB by default, less than an opening may have.
        constexpr int kRoom = 256 << 10;
        if (fcntl(end, F_SETFD, FD_CLOEXEC) == -1 ||
            setsockopt(end, SOL_SOCKET, SO_SNDBUF, &kRoom, sizeof(kRoom)) != 0)
            return false;
        // Now: an end whose peer is closed takes no options.
        SilenceChannelEnd(end);
    }
    return true;
}

void SilenceChannelEnd(int descriptor)
{
    constexpr int kOn = 1;
    (void)setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &kOn, sizeof(kOn));
}

}  // namespace vx
