// The client half of the library: one connector, whose FIFO files are the server's to remove.
//
// Made by CLibPipeConnectionCreator; the caller owns it and deletes it through this interface.
// Threads: one at a time, and never from inside the sink.
#pragma once

#include <string>

class IIPCConnector;

class ILibPipeClient {
public:
    virtual ~ILibPipeClient() = default;

    // As ILibPipeServer::addConnector, but a connector held before is deleted and replaced.
    virtual bool addConnector(const std::string &name, const char *readPipe, int readFlags,
                              const char *writePipe, int writeFlags) = 0;
    virtual void removeConnector() = 0;
    // Lent until it is removed or replaced; null before addConnector. It stays valid, with
    // every send returning false, after the client itself is deleted.
    virtual IIPCConnector *getConnector() = 0;
};
