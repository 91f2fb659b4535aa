// The one mutex, its guard and its condition, annotated for clang's thread-safety analysis.
//
//   Mutex _mutex;
//   Condition _changed;
//   bool _isReady VX_GUARDED_BY(_mutex) = false;
//
//   const MutexLock lock(_mutex);
//   while (!_isReady)
//       _changed.Wait(_mutex);
//
// The analysis does not see into a lambda, so conditions are written as loops.
#pragma once

#include "CLockerGuard.h"

#include <chrono>
#include <condition_variable>

namespace vx {

using Mutex = CMutexLocker;
using MutexLock = CLockerGuard;

class Condition {
public:
    using Deadline = std::chrono::steady_clock::time_point;

    void NotifyAll() { _condition.notify_all(); }

    // Waits for a notification; may also return without one.
    void Wait(Mutex &mutex) VX_REQUIRES(mutex)
    {
        Lockable lockable{mutex};
        _condition.wait(lockable);
    }
    // The same; false once the deadline has passed.
    bool WaitUntil(Mutex &mutex, Deadline deadline) VX_REQUIRES(mutex)
    {
        Lockable lockable{mutex};
        return _condition.wait_until(lockable, deadline) == std::cv_status::no_timeout;
    }

private:
    // The mutex under the names that the standard library calls. The analysis need not know that
    // the mutex is given back while waiting: it is held before and after.
    struct Lockable {
        Mutex &mutex;

        void lock() VX_NO_THREAD_SAFETY_ANALYSIS { mutex.Lock(); }
        void unlock() VX_NO_THREAD_SAFETY_ANALYSIS { mutex.Unlock(); }
    };

    std::condition_variable_any _condition;
};

}  // namespace vx
