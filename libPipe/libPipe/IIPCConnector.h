// One duplex link to another process, as application code sees it. Sending never blocks on a
// full or absent peer; only SendMsg_sync waits, and no longer than its timeout.
//
// Ownership: the registry that made a connector owns it. Threads: any, at the same time.
#pragma once

#include <string>

class IIPCConnector {
public:
    virtual ~IIPCConnector() = default;

    // Sends data under a message id and waits for nothing. len: bytes, at most 512; the wire
    // carries len bytes, of which the id takes the first four. False: null data, len out of
    // range, the connector not set up, or no reader at the other end. True says only that the
    // message was handed to the pipe: a full pipe drops it.
    virtual bool SendMsg_async(const char *data, int len, int msgId) = 0;
    // Sends a request and waits up to timeout seconds for the message with the same id. reply
    // must hold 512 bytes: 508 of the reply's body, then zeros. No answer in time is true too,
    // with replyLen bytes of zeros. False: as above, or the request could not be made.
    virtual bool SendMsg_sync(const char *data, int len, char *reply, int replyLen,
                              int timeout) = 0;
    virtual std::string GetName() const = 0;
};
