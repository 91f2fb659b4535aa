// Posts SIGINT, SIGQUIT, SIGTERM, SIGHUP and SIGCHLD to an event pipe while it exists, so that the
// program can clean up before it ends. SIGPIPE is ignored meanwhile: a closed output must not end
// the program before it has cleaned up.
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
