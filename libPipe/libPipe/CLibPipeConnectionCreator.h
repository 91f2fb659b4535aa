// Makes the two halves of the library.
//
// sink: receives unsolicited messages; it must outlive the result. interval: how often the
// result's connectors poll. Both return null without a sink. The caller owns the result and
// deletes it through its interface.
#pragma once

#include "ILibPipeClient.h"
#include "ILibPipeServer.h"
#include "PollInterval.h"

class IIPCEvent;

class CLibPipeConnectionCreator {
public:
    static ILibPipeServer *createLibPipeServer(IIPCEvent *sink,
                                               vx::PollInterval interval = vx::kPollInterval);
    static ILibPipeClient *createLibPipeClient(IIPCEvent *sink,
                                               vx::PollInterval interval = vx::kPollInterval);
};
