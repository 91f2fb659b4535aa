#include "QuitNoticeSink.h"

#include "CPipeDataWrapper.h"
#include "EventPipe.h"
#include "_MSG_DATA_PACKAGE.h"

namespace vx {

void QuitNoticeSink::OnCommand_Reply(IIPCConnector *, const char *msg, int)
{
    CPipeDataWrapper envelope;
    if (!envelope.InitializeWithPipeMessage(msg + offsetof(_MSG_DATA_PACKAGE, body)))
        return;
    if (envelope.getCommandDataWrapper()->command == CMD_EXPLORER_QUIT)
        _events.Post(EventPipe::kQuitNotice);
}

}  // namespace vx
