// Receives unsolicited messages of the host application, and replies that came too late.
//
// Threads: called on the reader thread of the connector. A command that is to touch the user
// interface must be handed to the main thread without waiting for it: at process exit the main
// thread waits for the running call.
#pragma once

#include "CMutexLocker.h"
#include "IIPCEvent.h"

class CPipeClientFileExplorerEvent : public IIPCEvent {
public:
    // Decodes the command record in the message. The explorer acts on none of the host's
    // commands: a known code is accepted and dropped, an unknown one decodes to nothing.
    void OnCommand_Reply(IIPCConnector *from, const char *msg, int bodyLen) override;

private:
    CMutexLocker _mutex;  // for the state of a command to come; there is none yet
};
