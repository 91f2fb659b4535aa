// The server half of the library: named connectors, whose FIFO files go with them.
//
// Made by CLibPipeConnectionCreator; the caller owns it and deletes it through this interface,
// which removes every connector. Threads: one at a time, and never from inside the sink.
#pragma once

#include <string>

class IIPCConnector;

class ILibPipeServer {
public:
    virtual ~ILibPipeServer() = default;

    // Reads one FIFO and writes the other, from now on. The flags are those of open(), with
    // O_CREAT for: make the FIFO if it is missing. False: the name is taken, or a path is
    // 1024 bytes long or longer; nothing is made then.
    virtual bool addConnector(const std::string &name, const char *readPipe, int readFlags,
                              const char *writePipe, int writeFlags) = 0;
    // Removes the connector and its two FIFO files. An unknown name is ignored.
    virtual void removeConnector(const std::string &name) = 0;
    virtual void removeAllConnector() = 0;
    // Lent until it is removed; null for an unknown name.
    virtual IIPCConnector *getConnector(const std::string &name) = 0;
};
