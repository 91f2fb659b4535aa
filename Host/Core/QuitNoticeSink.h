// Receives the explorer's messages and posts its quit notice to the event pipe. Every other
// message is dropped.
//
// Ownership: borrows the pipe. Threads: called on the link's reader thread.
#pragma once

#include "IIPCEvent.h"

namespace vx {

class EventPipe;

class QuitNoticeSink : public IIPCEvent {
public:
    explicit QuitNoticeSink(EventPipe &events) : _events(events) {}

    void OnCommand_Reply(IIPCConnector *from, const char *msg, int bodyLen) override;

private:
    EventPipe &_events;
};

}  // namespace vx
