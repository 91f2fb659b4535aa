// The client half of the library. See ILibPipeClient.
#pragma once

#include "CPipeClient.h"
#include "ILibPipeClient.h"
#include "PollInterval.h"

class CLibPipeClient : public ILibPipeClient {
public:
    explicit CLibPipeClient(IIPCEvent *sink, vx::PollInterval interval = vx::kPollInterval);

    bool addConnector(const std::string &name, const char *readPipe, int readFlags,
                      const char *writePipe, int writeFlags) override;
    void removeConnector() override;
    IIPCConnector *getConnector() override;

private:
    std::string _name;
    CPipeClient _client;
    const vx::PollInterval _interval;
};
