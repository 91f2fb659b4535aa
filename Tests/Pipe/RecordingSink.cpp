#include "RecordingSink.h"

#include <cstring>

void RecordingSink::OnCommand_Reply(IIPCConnector *from, const char *msg, int bodyLen)
{
    Received received = {from, 0, std::string(msg + sizeof(int32_t), static_cast<size_t>(bodyLen)),
                         msg[sizeof(int32_t) + static_cast<size_t>(bodyLen)],
                         std::chrono::steady_clock::now()};
    memcpy(&received.id, msg, sizeof(received.id));
    std::function<void(const Received &)> action;
    {
        const vx::MutexLock guard(_mutex);
        _received.push_back(received);
        action = _action;
    }
    _changed.NotifyAll();
    if (action)
        action(received);
}

void RecordingSink::OnMessage(std::function<void(const Received &)> action)
{
    const vx::MutexLock guard(_mutex);
    _action = std::move(action);
}

bool RecordingSink::AwaitCount(size_t count) const
{
    const auto deadline = vx::Condition::Deadline::clock::now() + std::chrono::seconds(20);
    const vx::MutexLock guard(_mutex);
    while (_received.size() < count && _changed.WaitUntil(_mutex, deadline)) {
    }
    return _received.size() >= count;
}

size_t RecordingSink::Count() const
{
    const vx::MutexLock guard(_mutex);
    return _received.size();
}

RecordingSink::Received RecordingSink::At(size_t index) const
{
    const vx::MutexLock guard(_mutex);
    return _received.at(index);
}
