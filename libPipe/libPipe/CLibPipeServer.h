// The server half of the library. See ILibPipeServer.
#pragma once

#include "CPipeServer.h"
#include "ILibPipeServer.h"
#include "PollInterval.h"

class CLibPipeServer : public ILibPipeServer {
public:
    explicit CLibPipeServer(IIPCEvent *sink, vx::PollInterval interval = vx::kPollInterval);

    bool addConnector(const std::string &name, const char *readPipe, int readFlags,
                      const char *writePipe, int writeFlags) override;
    void removeConnector(const std::string &name) override;
    void removeAllConnector() override;
    IIPCConnector *getConnector(const std::string &name) override;

private:
    CPipeServer _server;
    const vx::PollInterval _interval;
};
