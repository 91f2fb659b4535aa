#include "CPipeClientFileExplorerEvent.h"

#include "CPipeDataWrapper.h"
#include "_MSG_DATA_PACKAGE.h"

#import <Foundation/Foundation.h>

void CPipeClientFileExplorerEvent::OnCommand_Reply(IIPCConnector *, const char *msg, int)
{
    CPipeDataWrapper envelope;
    envelope.InitializeWithPipeMessage(msg + offsetof(_MSG_DATA_PACKAGE, body));
    // The reader thread has no autorelease pool for the objects of a command's handler.
    @autoreleasepool {
        const CCommandDataWrapper<char> *command = envelope.getCommandDataWrapper();
        if (!command)
            return;
        switch (command->command) {
        // A command that the explorer is to act on gets its case here.
        default:
            break;
        }
    }
}
