// Brings events of other threads to the one that waits for them: signals, a child's end, the quit
// notice, a cancellation. Signal handlers and other threads post.
//
// Threads: Post from any thread and from signal handlers; the rest from the one that first awaits.
// Errors: a pipe takes two descriptors, and without them nothing can be awaited.
#pragma once

#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>

namespace vx {

using Deadline = std::chrono::steady_clock::time_point;

class EventPipe {
public:
    // An event is a signal's number, or one of these.
    static constexpr int kQuitNotice = 0;
    static constexpr int kCancel = 255;

    EventPipe();

    // Empty, or one line: why there is no pipe. Nothing may be awaited then.
    const std::string &Error() const { return _error; }

    // Never blocks. An event that finds thousands unread is dropped.
    void Post(int event);
    // The next event, or nothing by the deadline; without a deadline it waits indefinitely.
    // Returns early, perhaps with nothing, if the other descriptor can be read; -1: there is none.
    std::optional<int> Await(std::optional<Deadline> deadline, int other = -1);
    // For poll(): readable while there is an event.
    int GetDescriptor() const;

private:
    UniqueFd _out;
    UniqueFd _in;
    std::string _error;
    ThreadBinding _thread;
};

}  // namespace vx
