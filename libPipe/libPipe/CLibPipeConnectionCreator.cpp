#include "CLibPipeConnectionCreator.h"

#include "CLibPipeClient.h"
#include "CLibPipeServer.h"

ILibPipeServer *CLibPipeConnectionCreator::createLibPipeServer(IIPCEvent *sink,
                                                               vx::PollInterval interval)
{
    return sink ? new CLibPipeServer(sink, interval) : nullptr;
}

ILibPipeClient *CLibPipeConnectionCreator::createLibPipeClient(IIPCEvent *sink,
                                                               vx::PollInterval interval)
{
    return sink ? new CLibPipeClient(sink, interval) : nullptr;
}
