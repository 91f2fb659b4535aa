// The synchronous requests of one connector that wait for a reply, by message id.
//
// Each has a semaphore of its own, named after the connector and the id. It is private to this
// process: the peer only sends a message with the same id.
//
// Threads: any. The one lock guards the ids, every lookup and every copy of a reply, so a
// reply is either stored whole for its request or not at all.
#pragma once

#include "CSemaphoreHelper.h"
#include "_MSG_DATA_PACKAGE.h"
#include "__MSG_MAPPING__.h"

#include "CMutexLocker.h"

#include <map>
#include <string>

namespace vx {

class PendingRequests {
public:
    // Bytes of a semaphore's name, its terminating zero included.
    static constexpr size_t kNameSize = 32;
    // What Begin returns when no request could be made.
    static constexpr int32_t kNoRequest = 0;

    PendingRequests() = default;
    ~PendingRequests();
    PendingRequests(const PendingRequests &) = delete;
    PendingRequests &operator=(const PendingRequests &) = delete;

    // Makes a request with the next id, from 16 upwards, and its semaphore. Returns the id, or
    // kNoRequest when the semaphore's name does not fit or the platform refuses it.
    int32_t Begin(const std::string &connectorName);
    // Stores a reply's body and wakes the requester. False: no request has this id.
    bool Answer(int32_t id, const char *body);
    // Never blocks. True: a reply is there, and its 512 bytes are copied to reply.
    bool TryTake(int32_t id, char *reply);
    // Forgets a request and removes its semaphore. Every Begin needs one.
    void End(int32_t id, const std::string &connectorName);

private:
    CMutexLocker _lock;
    CSemaphoreHelper _semaphores;
    std::map<int32_t, __MSG_MAPPING__> _pending VX_GUARDED_BY(_lock);
    int32_t _nextId VX_GUARDED_BY(_lock) = kFirstRequestId;
};

}  // namespace vx
