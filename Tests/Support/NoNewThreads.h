// The system without room for another thread, for tests on Linux.
#pragma once

#include <pthread.h>

#include <cstddef>

// While it lives, no thread of the process can be made: each would begin with more stack than
// there are addresses.
class NoNewThreads {
public:
    NoNewThreads()
    {
        pthread_getattr_default_np(&_before);
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_setstacksize(&attributes, size_t(1) << 47);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~NoNewThreads()
    {
        pthread_setattr_default_np(&_before);
        pthread_attr_destroy(&_before);
    }
    NoNewThreads(const NoNewThreads &) = delete;
    NoNewThreads &operator=(const NoNewThreads &) = delete;

private:
    pthread_attr_t _before;
};
