#include "CPipeClient.h"

#include "CPipeConnector.h"

#include <vector>

namespace {

// The connectors of destroyed clients. The list itself is never destroyed: it must be there for
// code that runs after static objects have gone.
void KeepUntilExit(CPipeConnector *connector)
{
    static std::vector<CPipeConnector *> &kept = *new std::vector<CPipeConnector *>;
    kept.push_back(connector);
}

}  // namespace

CPipeClient::CPipeClient(IIPCEvent *sink) : _sink(sink) {}

// A client usually goes at process exit, with other threads still running and its sink the next
// object to be destroyed. So, in this order:
// - the sink is detached, which waits for a running delivery: no later one can begin;
// - the reader thread is joined, so that it does not run while the process ends;
// - the ends are closed, and the FIFO files left to the server;
// - the connector object stays: a thread that still uses it gets false from its sends, and does not
//   touch freed memory.
CPipeClient::~CPipeClient()
{
    if (!_connector)
        return;
    _connector->SetMsgHander(nullptr);
    _connector->StopReader();
    _connector->ClosePipe();
    KeepUntilExit(_connector);
}

bool CPipeClient::AddConnector(CPipeConnector *connector)
{
    if (!connector)
        return false;
    // Deleted: it is out of reach, and its thread would go on taking the messages meant for its
    // successor.
    if (_connector != connector)
        delete _connector;
    _connector = connector;
    _connector->SetMsgHander(_sink);
    return true;
}

void CPipeClient::RemoveConnector(const std::string &)
{
    delete _connector;
    _connector = nullptr;
}

IIPCConnector *CPipeClient::GetConnector(const std::string &)
{
    return _connector;
}
