// A mutex that its holder may take again, and its guard, annotated for clang's thread-safety
// analysis. Only for a lock that is held while a caller's function runs; everything else takes
// Mutex.h.
#pragma once

#include "ThreadAnnotations.h"

#include <mutex>

namespace vx {

class VX_CAPABILITY("mutex") RecursiveMutex {
public:
    void Lock() VX_ACQUIRE() { _mutex.lock(); }
    void Unlock() VX_RELEASE() { _mutex.unlock(); }

private:
    std::recursive_mutex _mutex;
};

class VX_SCOPED_CAPABILITY RecursiveMutexLock {
public:
    explicit RecursiveMutexLock(RecursiveMutex &mutex) VX_ACQUIRE(mutex) : _mutex(mutex)
    {
        _mutex.Lock();
    }
    ~RecursiveMutexLock() VX_RELEASE() { _mutex.Unlock(); }
    RecursiveMutexLock(const RecursiveMutexLock &) = delete;
    RecursiveMutexLock &operator=(const RecursiveMutexLock &) = delete;

private:
    RecursiveMutex &_mutex;
};

}  // namespace vx
