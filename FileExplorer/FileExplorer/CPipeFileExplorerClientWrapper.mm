#include "CPipeFileExplorerClientWrapper.h"

#include "CPipeClientFileExplorerEvent.h"
#include "CPipeDataWrapper.h"
#include "ThreadChecks.h"
#include "_MSG_DATA_PACKAGE.h"
#include "libPipeWrapper.h"

namespace {

constexpr int kMessageLength = static_cast<int>(kPipeMessageSize);

// A record whose code is unknown becomes a message of zeros.
CPipeDataWrapper EnvelopeOf(const CCommandDataWrapper<char> *cmd)
{
    CPipeDataWrapper envelope;
    envelope.InitializeWithCmdDataWrapper(cmd);
    return envelope;
}

}  // namespace

// The sink is made before the link that calls it, and so is destroyed after it.
CPipeFileExplorerClientWrapper *CPipeFileExplorerClientWrapper::getInstance()
{
    static CPipeClientFileExplorerEvent sink;
    static CPipeFileExplorerClientWrapper link(&sink);
    return &link;
}

CPipeFileExplorerClientWrapper::CPipeFileExplorerClientWrapper(IIPCEvent *sink,
                                                               vx::PollInterval interval)
    : _client(CLibPipeConnectionCreator::createLibPipeClient(sink, interval))
{
}

CPipeFileExplorerClientWrapper::~CPipeFileExplorerClientWrapper() = default;

bool CPipeFileExplorerClientWrapper::initClient(const char *name, const char *readPipe,
                                                int readFlags, const char *writePipe,
                                                int writeFlags)
{
    AssertMainThread();
    if (!_client || !name)
        return false;
    return _client->addConnector(name, readPipe, readFlags, writePipe, writeFlags);
}

bool CPipeFileExplorerClientWrapper::SendCmd_async(const CCommandDataWrapper<char> *cmd)
{
    AssertMainThread();
    IIPCConnector *connector = _client ? _client->getConnector() : nullptr;
    if (!cmd || !connector)
        return false;
    return connector->SendMsg_async(EnvelopeOf(cmd).getMessage(), kMessageLength, kAsyncMessageId);
}

bool CPipeFileExplorerClientWrapper::SendCmd_sync(const CCommandDataWrapper<char> *cmd, char *reply,
                                                  int timeout)
{
    IIPCConnector *connector = _client ? _client->getConnector() : nullptr;
    if (!cmd || !reply || !connector)
        return false;
    return connector->SendMsg_sync(EnvelopeOf(cmd).getMessage(), kMessageLength, reply,
                                   kMessageLength, timeout);
}
