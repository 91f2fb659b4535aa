#include "ChannelEndWatch.h"

#include <csignal>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

constexpr unsigned kSecondsToEnd = 1;

void AwaitChannelEnd(int descriptor)
{
    // The end is reported whatever is asked for.
    struct pollfd wanted = {descriptor, 0, 0};
    while (poll(&wanted, 1, -1) <= 0) {
    }
    kill(getpid(), SIGTERM);
    sleep(kSecondsToEnd);
    _exit(128 + SIGTERM);
}

}  // namespace

bool EndWithChannel(int descriptor)
{
    sigset_t all, former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    bool isStarted = true;
    try {
        std::thread(AwaitChannelEnd, descriptor).detach();
    } catch (const std::system_error &) {
        isStarted = false;
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return isStarted;
}

}  // namespace vx
