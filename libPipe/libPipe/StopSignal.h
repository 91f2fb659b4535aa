// A flag that is raised once, and waits that end as soon as it is: a thread that sleeps
// between two polls can be stopped without waiting for the sleep to end.
//
// Threads: any.
#pragma once

#include "PollInterval.h"

#include <condition_variable>
#include <mutex>

namespace vx {

class StopSignal {
public:
    void Raise();
    bool IsRaised() const;
    // Sleeps for one interval, or until the flag is raised. Returns whether it is raised.
    bool WaitFor(PollInterval interval) const;

private:
    mutable std::mutex _mutex;
    mutable std::condition_variable _changed;
    bool _raised = false;  // guarded by _mutex
};

}  // namespace vx
