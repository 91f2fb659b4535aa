#include "ChannelEndWatch.h"

#include "PeerEnd.h"

#include <csignal>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

constexpr unsigned kSecondsToEnd = 1;

void EndWithPeer(int watch)
{
    AwaitPeerEnd(watch);
    kill(getpid(), SIGTERM);
    sleep(kSecondsToEnd);
    _exit(128 + SIGTERM);
}

}  // namespace

bool EndWithChannel(int descriptor)
{
    // The owner of the other closes it when the trial is over, which is no end of the channel.
    const int watch = WatchPeer(descriptor);
    if (watch == -1)
        return false;
    sigset_t all, former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    bool isStarted = true;
    try {
        std::thread(EndWithPeer, watch).detach();
    } catch (const std::system_error &) {
        isStarted = false;
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return isStarted;
}

}  // namespace vx
