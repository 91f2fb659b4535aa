// An event sink that decodes every message and keeps none.
#pragma once

#include "CPipeDataWrapper.h"
#include "Eventually.h"
#include "IIPCEvent.h"
#include "_MSG_DATA_PACKAGE.h"

#include <atomic>

class DecodingSink : public IIPCEvent {
public:
    void OnCommand_Reply(IIPCConnector *, const char *msg, int) override
    {
        CPipeDataWrapper envelope;
        envelope.InitializeWithPipeMessage(msg + offsetof(_MSG_DATA_PACKAGE, body));
        ++_count;
    }
    bool AwaitCount(int count) const
    {
        return Eventually([&] { return _count >= count; });
    }

private:
    std::atomic<int> _count{0};
};
