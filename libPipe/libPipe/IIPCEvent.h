// The event sink: where a connector delivers the messages that answer no request.
//
// Ownership: borrowed by the library; it must outlive the server or client that it was given
// to. Threads: called on the reader thread of a connector, so one sink of several connectors
// is called by several threads. The sink may send through `from`; it must not delete it, nor
// wait for a thread that is removing it.
#pragma once

class IIPCConnector;

class IIPCEvent {
public:
    virtual ~IIPCEvent() = default;

    // msg: one whole message, the 4-byte id, then bodyLen bytes (508), then a zero byte. It is
    // valid during the call only.
    virtual void OnCommand_Reply(IIPCConnector *from, const char *msg, int bodyLen) = 0;
};
