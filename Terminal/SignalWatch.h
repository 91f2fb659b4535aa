// Posts SIGINT, SIGQUIT, SIGTERM, SIGHUP and SIGCHLD to an event pipe for as long as it lives, so
// that the program can end the explorer and clean up before it goes. SIGPIPE is ignored meanwhile:
// a report that nobody reads must not end the program half-way.
//
// A signal that was ignored when the program started (nohup) stays ignored.
// Ownership: borrows the pipe. One at a time in a process. Threads: the main thread.
#pragma once

#include <map>
#include <signal.h>

namespace vx {

class EventPipe;

class SignalWatch {
public:
    explicit SignalWatch(EventPipe &events);
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

private:
    void Handle(int signal, void (*handler)(int));

    std::map<int, struct sigaction> _former;
};

}  // namespace vx
