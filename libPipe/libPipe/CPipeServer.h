// The server side's registry: any number of connectors by name. Removing one removes its two
// FIFO files, which is the server's duty in a pair of processes.
//
// Ownership: owns the connectors; borrows the sink, which must outlive the registry.
// Threads: one at a time, and never from inside the sink.
#pragma once

#include "IIPCObject.h"

#include <map>
#include <memory>

class IIPCEvent;

class CPipeServer : public IIPCObject {
public:
    explicit CPipeServer(IIPCEvent *sink);
    ~CPipeServer() override;
    CPipeServer(const CPipeServer &) = delete;
    CPipeServer &operator=(const CPipeServer &) = delete;

    // False: null, or a connector of the same name is there; the caller keeps it then.
    bool AddConnector(CPipeConnector *connector) override;
    // Unlinks both FIFOs, stops and deletes the connector. An unknown name is ignored.
    void RemoveConnector(const std::string &name) override;
    IIPCConnector *GetConnector(const std::string &name) override;
    // Removes all in the order of their names.
    virtual void CloseAllConnector();

private:
    std::map<std::string, std::unique_ptr<CPipeConnector>> _connectors;
    IIPCEvent *_sink;
};
