// Holds a CMutexLocker for one scope: locked on construction, unlocked on destruction.
//
// Ownership: borrows the lock, which must outlive the guard.
// Threads: made and destroyed by the same thread.
#pragma once

#include "CMutexLocker.h"

class VX_SCOPED_CAPABILITY CLockerGuard {
public:
    explicit CLockerGuard(CMutexLocker &lock) VX_ACQUIRE(lock) : _lock(lock) { _lock.Lock(); }
    ~CLockerGuard() VX_RELEASE() { _lock.Unlock(); }
    CLockerGuard(const CLockerGuard &) = delete;
    CLockerGuard &operator=(const CLockerGuard &) = delete;

private:
    CMutexLocker &_lock;
};
