// Runs a session on a thread of its own, for a host whose main thread shows a window.
//
// Ownership: borrows the observer, which must outlive this. Threads: made, cancelled and destroyed
// on any one thread; the observer and ended are called on the session's thread.
#pragma once

#include "EventPipe.h"
#include "FifoPair.h"
#include "HostObserver.h"
#include "HostRequest.h"

#include <functional>
#include <memory>
#include <thread>

namespace vx {

class SessionThread {
public:
    using Ended = std::function<void(const SessionEnd &)>;

    // ended: called once, last; this may not be destroyed in it. If the system has no thread or
    // no descriptors left it is called at once, before the constructor returns.
    SessionThread(std::unique_ptr<HostRequest> request, HostObserver &observer, Ended ended,
                  const LinkPaths &paths = {});
    // Cancels a session that still runs and waits for its end: at once while the volume is tried,
    // up to five seconds for an explorer that does not end.
    ~SessionThread();
    SessionThread(const SessionThread &) = delete;
    SessionThread &operator=(const SessionThread &) = delete;

    // Ends the trial or the explorer; the session ends with kInterrupted. A second call kills an
    // explorer that takes its time. Never blocks.
    void Cancel();

private:
    void Run(HostObserver &observer, const LinkPaths &paths);

    const std::unique_ptr<HostRequest> _request;
    const Ended _ended;
    EventPipe _events;
    std::thread _thread;
};

}  // namespace vx
