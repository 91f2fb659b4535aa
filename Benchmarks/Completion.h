// An event that happens once and can be waited for.
//
// Threads: any.
#pragma once

#include "Mutex.h"

namespace vx {

class Completion {
public:
    void Complete()
    {
        const MutexLock lock(_mutex);
        _isComplete = true;
        _changed.NotifyAll();
    }
    // Returns when Complete has been called; at once if it was called before.
    void Wait()
    {
        const MutexLock lock(_mutex);
        while (!_isComplete)
            _changed.Wait(_mutex);
    }

private:
    Mutex _mutex;
    Condition _changed;
    bool _isComplete VX_GUARDED_BY(_mutex) = false;
};

}  // namespace vx
