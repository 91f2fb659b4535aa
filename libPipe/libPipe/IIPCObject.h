// A registry of connectors, which the server and the client side fill in their own ways.
//
// Threads: one thread adds, removes and gets; there is no lock.
#pragma once

#include <string>

class CPipeConnector;
class IIPCConnector;

class IIPCObject {
public:
    virtual ~IIPCObject() = default;

    // Takes the connector over and gives it the registry's sink. False: it stays the caller's.
    virtual bool AddConnector(CPipeConnector *connector) = 0;
    virtual void RemoveConnector(const std::string &name) = 0;
    // The connector, lent until it is removed, or null.
    virtual IIPCConnector *GetConnector(const std::string &name) = 0;
};
