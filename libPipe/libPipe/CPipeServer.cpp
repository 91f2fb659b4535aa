#include "CPipeServer.h"

#include "CPipeConnector.h"

CPipeServer::CPipeServer(IIPCEvent *sink) : _sink(sink) {}

CPipeServer::~CPipeServer()
{
    CPipeServer::CloseAllConnector();
}

bool CPipeServer::AddConnector(CPipeConnector *connector)
{
    if (!connector || _connectors.count(connector->GetName()) != 0)
        return false;
    connector->SetMsgHander(_sink);
    _connectors[connector->GetName()].reset(connector);
    return true;
}

void CPipeServer::RemoveConnector(const std::string &name)
{
    const auto found = _connectors.find(name);
    if (found == _connectors.end())
        return;
    // Stopped before the files are removed: a reader that is still trying to open its end would
    // make its FIFO again.
    found->second->StopReader();
    found->second->DeletePipe();
    _connectors.erase(found);
}

IIPCConnector *CPipeServer::GetConnector(const std::string &name)
{
    const auto found = _connectors.find(name);
    return found == _connectors.end() ? nullptr : found->second.get();
}

void CPipeServer::CloseAllConnector()
{
    while (!_connectors.empty())
        CPipeServer::RemoveConnector(std::string(_connectors.begin()->first));
}
