// Owns one pthread mutex: initialised on construction, destroyed on destruction.
//
// Ownership: neither copied nor moved. The lock must be free when it is destroyed.
// Threads: any. Not recursive: a thread that locks it twice deadlocks.
// Lock it through CLockerGuard, which always unlocks it.
#pragma once

#include "ThreadAnnotations.h"

#include <pthread.h>

class VX_CAPABILITY("mutex") CMutexLocker {
public:
    CMutexLocker() { pthread_mutex_init(&_mutex, nullptr); }
    ~CMutexLocker() { pthread_mutex_destroy(&_mutex); }
    CMutexLocker(const CMutexLocker &) = delete;
    CMutexLocker &operator=(const CMutexLocker &) = delete;

    void Lock() VX_ACQUIRE() { pthread_mutex_lock(&_mutex); }
    void Unlock() VX_RELEASE() { pthread_mutex_unlock(&_mutex); }

private:
    pthread_mutex_t _mutex;
};
