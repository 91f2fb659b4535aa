// A flag that is raised once and ends every wait for it at once: a thread that sleeps between two
// polls can be stopped without waiting for the sleep to end.
//
// Threads: any.
#pragma once

#include "Mutex.h"
#include "PollInterval.h"

namespace vx {

class StopSignal {
public:
    void Raise();
    bool IsRaised() const;
    // Sleeps for one interval, or until the flag is raised. Returns whether it is raised.
    bool WaitFor(PollInterval interval) const;

private:
    mutable Mutex _mutex;
    mutable Condition _changed;
    bool _raised VX_GUARDED_BY(_mutex) = false;
};

}  // namespace vx
