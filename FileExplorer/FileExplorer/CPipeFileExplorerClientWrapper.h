// The explorer's one link to the host application.
//
// Life: made by the process entry with getInstance, connected with initClient, used for the
// rest of the process's life and destroyed at its exit, which stops the reader thread and
// closes both ends. The FIFO files stay for the host, which removes them.
// Threads: getInstance from any; initClient and SendCmd_async from the main thread; SendCmd_sync,
// which waits, from any once initClient has returned.
// Errors: false, and nothing shown or logged. The explorer works without a host.
#pragma once

#include "CCommandDataWrapper.h"
#include "PollInterval.h"

#include <memory>

class IIPCEvent;
class ILibPipeClient;

class CPipeFileExplorerClientWrapper {
public:
    // The process's link, with its own event sink.
    static CPipeFileExplorerClientWrapper *getInstance();

    // A link with another sink, which must outlive it. Null: a link that never connects.
    explicit CPipeFileExplorerClientWrapper(IIPCEvent *sink,
                                            vx::PollInterval interval = vx::kPollInterval);
    ~CPipeFileExplorerClientWrapper();
    CPipeFileExplorerClientWrapper(const CPipeFileExplorerClientWrapper &) = delete;
    CPipeFileExplorerClientWrapper &operator=(const CPipeFileExplorerClientWrapper &) = delete;

    // Reads one FIFO and writes the other from now on. name: names the semaphores of
    // synchronous requests. The flags are those of open(), with O_CREAT for: make the FIFO if
    // it is missing. True also while the host is not listening.
    bool initClient(const char *name, const char *readPipe, int readFlags, const char *writePipe,
                    int writeFlags);
    // Sends a record with message id 1 and waits for nothing. False: null, no link, or the
    // host does not have its end open.
    bool SendCmd_async(const CCommandDataWrapper<char> *cmd);
    // Sends a request and waits up to timeout seconds. reply must hold 512 bytes and receives
    // the body of the reply; all zero, with the result true, if none came in time.
    bool SendCmd_sync(const CCommandDataWrapper<char> *cmd, char *reply, int timeout);

private:
    std::unique_ptr<ILibPipeClient> _client;
};
