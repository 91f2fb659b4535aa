#include "CLibPipeServer.h"

#include "CPipeConnector.h"

CLibPipeServer::CLibPipeServer(IIPCEvent *sink, vx::PollInterval interval)
    : _server(sink), _interval(interval)
{
}

bool CLibPipeServer::addConnector(const std::string &name, const char *readPipe, int readFlags,
                                  const char *writePipe, int writeFlags)
{
    // Asked first: a connector that is then refused would have taken messages from the FIFO.
    if (_server.GetConnector(name))
        return false;
    auto connector = std::make_unique<CPipeConnector>(name, _interval);
    if (!connector->initPipeConnection(readPipe, readFlags, writePipe, writeFlags))
        return false;
    return _server.AddConnector(connector.release());
}

void CLibPipeServer::removeConnector(const std::string &name)
{
    _server.RemoveConnector(name);
}

void CLibPipeServer::removeAllConnector()
{
    _server.CloseAllConnector();
}

IIPCConnector *CLibPipeServer::getConnector(const std::string &name)
{
    return _server.GetConnector(name);
}
