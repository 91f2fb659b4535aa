// Turns the signals that end a program (Ctrl-C, a closed terminal, kill) into a request to stop
// while it lives. The second such signal ends the process at once, as if it were not caught.
//
// Threads: one at a time in the process; Signal on any thread.
#pragma once

#include <csignal>
#include <cstddef>

namespace vx {

class StopRequest {
public:
    StopRequest();
    // Gives the signals back what they did before.
    ~StopRequest();
    StopRequest(const StopRequest &) = delete;
    StopRequest &operator=(const StopRequest &) = delete;

    // The number of the signal that came, 0 before.
    static int Signal();

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
    static constexpr size_t kSignalCount = sizeof(kSignals) / sizeof(kSignals[0]);

    static void OnSignal(int number);

    struct sigaction _before[kSignalCount];
};

}  // namespace vx
