#include "CLibPipeClient.h"

#include "CPipeConnector.h"

#include <memory>

CLibPipeClient::CLibPipeClient(IIPCEvent *sink, vx::PollInterval interval)
    : _client(sink), _interval(interval)
{
}

bool CLibPipeClient::addConnector(const std::string &name, const char *readPipe, int readFlags,
                                  const char *writePipe, int writeFlags)
{
    auto connector = std::make_unique<CPipeConnector>(name, _interval);
    if (!connector->initPipeConnection(readPipe, readFlags, writePipe, writeFlags))
        return false;
    _name = name;
    return _client.AddConnector(connector.release());
}

void CLibPipeClient::removeConnector()
{
    _client.RemoveConnector(_name);
}

IIPCConnector *CLibPipeClient::getConnector()
{
    return _client.GetConnector(_name);
}
