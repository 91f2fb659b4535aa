// A program that runs beside the benchmark, without its output, and is killed with the object.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

class BackgroundProcess {
public:
    // command: the program's path or name, then its arguments.
    explicit BackgroundProcess(const std::vector<std::string> &command);
    ~BackgroundProcess();
    BackgroundProcess(const BackgroundProcess &) = delete;
    BackgroundProcess &operator=(const BackgroundProcess &) = delete;

    // False as well when it could not be started.
    bool Runs();

private:
    pid_t _id = -1;
};
