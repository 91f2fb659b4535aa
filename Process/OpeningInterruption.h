// While a volume is opened, which can take long, makes SIGINT, SIGTERM and SIGHUP cancel the
// opening, so that the library can overwrite its keys. If the opening has not returned a second
// later, the signal ends the process.
//
// Without a library that can cancel, the signals keep their effect, as does an ignored one.
//
// Ownership: the library must stay loaded meanwhile. One at a time in a process.
// Threads: the main thread; signals may arrive on any thread.
#pragma once

#include <csignal>
#include <cstddef>

namespace vx {

class OpeningInterruption {
public:
    // library: the handle of the loaded library, or null.
    explicit OpeningInterruption(void *library);
    // Restores the former effect of the signals.
    ~OpeningInterruption();
    OpeningInterruption(const OpeningInterruption &) = delete;
    OpeningInterruption &operator=(const OpeningInterruption &) = delete;

    // The signal that came during the last one, or 0.
    static int Signal();

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGALRM};
    static constexpr size_t kSignalCount = sizeof(kSignals) / sizeof(kSignals[0]);

    const bool _isActive;
    struct sigaction _former[kSignalCount] = {};
};

}  // namespace vx
