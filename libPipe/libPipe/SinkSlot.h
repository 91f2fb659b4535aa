// The place of a connector's event sink, which another thread may change or empty at any time.
//
// The lock is held while the sink runs. So when Set returns, no call into the former sink is
// running and none will begin: after Set(nullptr) the sink may be destroyed. The lock is recursive,
// so a sink may change the slot from inside its own call.
//
// Ownership: the sink is borrowed. Threads: any.
#pragma once

#include "RecursiveMutex.h"

class IIPCConnector;
class IIPCEvent;

namespace vx {

class SinkSlot {
public:
    void Set(IIPCEvent *sink);
    // Calls the sink. Returns false, without a call, while there is none.
    bool Deliver(IIPCConnector *from, const char *msg, int bodyLen);

private:
    RecursiveMutex _mutex;
    IIPCEvent *_sink VX_GUARDED_BY(_mutex) = nullptr;
};

}  // namespace vx
