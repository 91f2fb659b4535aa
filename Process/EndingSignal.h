// Ends the process the way a signal does that is not caught, so that a shell sees the signal.
//
// Threads: any, and signal handlers.
#pragma once

#include <csignal>
#include <unistd.h>

namespace vx {

[[noreturn]] inline void EndBySignal(int number)
{
    signal(number, SIG_DFL);
    raise(number);
    // Reached only if the signal is blocked.
    _exit(128 + number);
}

}  // namespace vx
