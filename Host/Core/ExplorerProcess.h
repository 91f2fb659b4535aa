// The explorer as a child process.
//
// Ownership: kills and reaps a child that still runs when this is destroyed.
// Threads: the main thread.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

class ExplorerProcess {
public:
    ExplorerProcess() = default;
    ~ExplorerProcess();
    ExplorerProcess(const ExplorerProcess &) = delete;
    ExplorerProcess &operator=(const ExplorerProcess &) = delete;

    // arguments: those after the program's path. Returns 0, or the errno of the failure.
    int Start(const std::string &program, const std::vector<const char *> &arguments);
    // Never blocks. True also if it was never started.
    bool HasEnded();
    // Sends a signal to a child that has not ended.
    void Signal(int signal);
    // Kills and reaps a child that has not ended.
    void Kill();
    // How it ended, e.g. "exit status 0" or "signal 9". Call it after it has ended.
    std::string DescribeEnd() const;

private:
    bool Reap(int flags);

    pid_t _pid = -1;
    int _status = 0;
};

}  // namespace vx
