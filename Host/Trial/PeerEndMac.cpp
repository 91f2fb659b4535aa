// Not by poll: on macOS it reports an end only with data, and not at all if data is not asked for.
//
// Source: the manual page kqueue(2), EVFILT_READ and EV_EOF.
#include "PeerEnd.h"

#include "UniqueFd.h"

#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

namespace vx {

int WatchPeer(int socket)
{
    UniqueFd own(fcntl(socket, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    UniqueFd queue(kqueue());
    struct kevent wanted;
    EV_SET(&wanted, static_cast<uintptr_t>(own.Get()), EVFILT_READ, EV_ADD | EV_CLEAR, 0, 0,
           nullptr);
    if (!own || !queue || kevent(queue.Get(), &wanted, 1, nullptr, 0, nullptr) == -1)
        return -1;
    (void)own.Release();
    return queue.Release();
}

void AwaitPeerEnd(int watch)
{
    struct kevent event = {};
    // One event for each arrival, until the end.
    while (kevent(watch, nullptr, 0, &event, 1, nullptr) != 1 || (event.flags & EV_EOF) == 0) {
    }
}

}  // namespace vx
