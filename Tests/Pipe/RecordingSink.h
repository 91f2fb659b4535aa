// An event sink that keeps every message it is given.
#pragma once

#include "IIPCEvent.h"
#include "Mutex.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class RecordingSink : public IIPCEvent {
public:
    struct Received {
        IIPCConnector *from;
        int32_t id;
        std::string body;  // bodyLen bytes
        char following;    // the byte after the body
        std::chrono::steady_clock::time_point when;
    };

    void OnCommand_Reply(IIPCConnector *from, const char *msg, int bodyLen) override;

    // Called for each message, on the reader thread.
    void OnMessage(std::function<void(const Received &)> action);
    bool AwaitCount(size_t count) const;
    size_t Count() const;
    Received At(size_t index) const;

private:
    mutable vx::Mutex _mutex;
    mutable vx::Condition _changed;
    std::vector<Received> _received VX_GUARDED_BY(_mutex);
    std::function<void(const Received &)> _action VX_GUARDED_BY(_mutex);
};
