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
        const std::lock_guard<std::mutex> guard(_mutex);
        _received.push_back(received);
        action = _action;
    }
    _changed.notify_all();
    if (action)
        action(received);
}

void RecordingSink::OnMessage(std::function<void(const Received &)> action)
{
    const std::lock_guard<std::mutex> guard(_mutex);
    _action = std::move(action);
}

bool RecordingSink::AwaitCount(size_t count) const
{
    std::unique_lock<std::mutex> guard(_mutex);
    return _changed.wait_for(guard, std::chrono::seconds(20),
                             [&] { return _received.size() >= count; });
}

size_t RecordingSink::Count() const
{
    const std::lock_guard<std::mutex> guard(_mutex);
    return _received.size();
}

RecordingSink::Received RecordingSink::At(size_t index) const
{
    const std::lock_guard<std::mutex> guard(_mutex);
    return _received.at(index);
}
