// One synchronous request that waits for its reply: the semaphore that wakes the requester,
// and the place where the reader thread leaves the reply's body.
//
// Ownership: PendingRequests opens and closes the semaphore and guards every access.
#pragma once

#include "_MSG_DATA_PACKAGE.h"

#include <semaphore.h>

struct __MSG_MAPPING__ {
    sem_t *semaphore = nullptr;
    char reply[kPipeMessageSize + 1] = {};
};
