// A program as a child process. It has the three standard descriptors and the one that it inherits,
// and no other, whatever libraries of this process have open. A thread waits for its end and posts
// it, so that no handler of SIGCHLD is needed.
//
// Ownership: borrows the events; kills and reaps a child that still runs when this is destroyed.
// Threads: the one that first uses it.
#pragma once

#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <atomic>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace vx {

class EventPipe;

// A descriptor that one child inherits. Descriptors are close-on-exec, and no other child that is
// started meanwhile may get it: so a second number is reserved, which leads to the descriptor in
// that child alone.
class Inheritance {
public:
    explicit Inheritance(int descriptor);

    // What the descriptor is called in the child; -1 if there is none.
    int Number() const { return _place.Get(); }
    int Descriptor() const { return _descriptor; }

private:
    const int _descriptor;
    const UniqueFd _place;
};

class SpawnedProcess {
public:
    // events: receives SIGCHLD when the child has ended.
    explicit SpawnedProcess(EventPipe &events) : _events(events) {}
    ~SpawnedProcess();
    SpawnedProcess(const SpawnedProcess &) = delete;
    SpawnedProcess &operator=(const SpawnedProcess &) = delete;

    // Once. arguments: those after the program's path. inheritance: may be null. Returns 0, or the
    // errno of the failure.
    int Start(const std::string &program, const std::vector<const char *> &arguments,
              const Inheritance *inheritance = nullptr);
    // Never blocks. True also if it was never started.
    bool HasEnded();
    // Sends a signal to a child that has not ended.
    void Signal(int signal);
    // Kills and reaps a child that has not ended.
    void Kill();
    // How it ended, e.g. "exit status 0" or "signal 9". Call it after it has ended.
    std::string DescribeEnd() const;
    // Its exit status; -1 if it has not ended by itself.
    int ExitStatus() const;

private:
    bool Watch();
    void Reap();

    EventPipe &_events;
    pid_t _pid = -1;
    int _status = 0;
    std::atomic<bool> _isOver{false};
    std::thread _watch;
    ThreadBinding _thread;
};

}  // namespace vx
