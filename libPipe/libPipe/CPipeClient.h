// The client side's registry: one connector, whatever its name. It never removes FIFO files,
// which are the server's.
//
// Ownership: owns the connector; borrows the sink, which must outlive the registry.
// Threads: one at a time, and never from inside the sink; destruction alone may also happen
// there, when the sink calls exit().
#pragma once

#include "IIPCObject.h"

class IIPCEvent;

class CPipeClient : public IIPCObject {
public:
    explicit CPipeClient(IIPCEvent *sink);
    // Closes the connector but keeps the object for the rest of the process: see the source.
    ~CPipeClient() override;
    CPipeClient(const CPipeClient &) = delete;
    CPipeClient &operator=(const CPipeClient &) = delete;

    // False: null. A connector held before is deleted.
    bool AddConnector(CPipeConnector *connector) override;
    // Deletes the connector held; the name is ignored.
    void RemoveConnector(const std::string &name) override;
    // The connector held or null; the name is ignored.
    IIPCConnector *GetConnector(const std::string &name) override;

private:
    CPipeConnector *_connector = nullptr;
    IIPCEvent *_sink;
};
