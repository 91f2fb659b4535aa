#include "ChannelSystem.h"

#include <sys/socket.h>

namespace vx {

const int kChannelSendFlags = MSG_NOSIGNAL;

bool MakeChannelPair(UniqueFd *one, UniqueFd *other)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return false;
    *one = UniqueFd(ends[0]);
    *other = UniqueFd(ends[1]);
    return true;
}

void SilenceChannelEnd(int) {}

}  // namespace vx
