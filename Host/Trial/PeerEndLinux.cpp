#include "PeerEnd.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace vx {

int WatchPeer(int socket)
{
    return fcntl(socket, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

void AwaitPeerEnd(int watch)
{
    // The end is reported whatever is asked for.
    struct pollfd wanted = {watch, 0, 0};
    while (poll(&wanted, 1, -1) <= 0) {
    }
}

}  // namespace vx
