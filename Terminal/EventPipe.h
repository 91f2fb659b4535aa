// Brings events of other threads to the main thread: signals, the child's end and the quit notice.
// Signal handlers and the link's reader thread post, the main thread awaits.
//
// Threads: Post from any thread and from signal handlers; the rest from the main thread.
#pragma once

#include "UniqueFd.h"

#include <chrono>
#include <optional>

namespace vx {

using Deadline = std::chrono::steady_clock::time_point;

class EventPipe {
public:
    // An event is a signal's number, or this.
    static constexpr int kQuitNotice = 0;

    EventPipe();

    // Never blocks. An event that finds thousands unread is dropped.
    void Post(int event);
    // The next event, or nothing by the deadline; without a deadline it waits indefinitely.
    std::optional<int> Await(std::optional<Deadline> deadline);
    // For poll(): readable while there is an event.
    int GetDescriptor() const;

private:
    UniqueFd _out;
    UniqueFd _in;
};

}  // namespace vx
