// A child process of a test: its standard input is a pipe that the test holds, its output goes
// to a file. It is killed and reaped when this goes.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

class ChildProcess {
public:
    // arguments: those after the program's path.
    ChildProcess(const std::string &program, const std::vector<std::string> &arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    void CloseInput();
    void Signal(int signal);
    bool HasEnded();
    // Waits for the end: the exit status, or a signal's number below zero. Nothing: it did not
    // end in time.
    std::optional<int> AwaitEnd();
    // What it has written so far to standard output and standard error.
    std::string Output() const;

private:
    pid_t _pid = -1;
    int _input = -1;
    int _output = -1;
    std::optional<int> _end;
};
