#include "SinkSlot.h"

#include "IIPCEvent.h"

namespace vx {

void SinkSlot::Set(IIPCEvent *sink)
{
    const RecursiveMutexLock guard(_mutex);
    _sink = sink;
}

bool SinkSlot::Deliver(IIPCConnector *from, const char *msg, int bodyLen)
{
    const RecursiveMutexLock guard(_mutex);
    if (!_sink)
        return false;
    _sink->OnCommand_Reply(from, msg, bodyLen);
    return true;
}

}  // namespace vx
