// A mutex and its lock with clang's thread-safety annotations, which the standard ones lack.
#pragma once

#include <mutex>

#if defined(__clang__)
#define VX_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VX_THREAD_ATTRIBUTE(x)
#endif
#define VX_GUARDED_BY(mutex) VX_THREAD_ATTRIBUTE(guarded_by(mutex))
#define VX_PT_GUARDED_BY(mutex) VX_THREAD_ATTRIBUTE(pt_guarded_by(mutex))
#define VX_REQUIRES(mutex) VX_THREAD_ATTRIBUTE(requires_capability(mutex))

namespace vx {

class VX_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
public:
    void Lock() VX_THREAD_ATTRIBUTE(acquire_capability()) { _mutex.lock(); }
    void Unlock() VX_THREAD_ATTRIBUTE(release_capability()) { _mutex.unlock(); }

private:
    std::mutex _mutex;
};

class VX_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
public:
    explicit MutexLock(Mutex &mutex) VX_THREAD_ATTRIBUTE(acquire_capability(mutex)) : _mutex(mutex)
    {
        _mutex.Lock();
    }
    ~MutexLock() VX_THREAD_ATTRIBUTE(release_capability()) { _mutex.Unlock(); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    Mutex &_mutex;
};

}  // namespace vx
