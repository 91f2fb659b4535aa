// Runs a program to its end and collects what it prints.
#pragma once

#include <string>
#include <vector>

struct ChildResult {
    int status = -1;     // the exit status; -1 if it did not exit by itself
    std::string output;  // standard output
};

// environment: "NAME=value", added to this process's own.
ChildResult RunChild(const std::vector<std::string> &arguments,
                     const std::vector<std::string> &environment = {});
