// Runs a program to its end, times it and measures its memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct ChildResult {
    bool succeeded;      // started, and ended with status 0
    double seconds;      // wall clock, from the start to the end
    std::string output;  // what it wrote to its standard output
    int64_t peakBytes;   // the most of its memory that was in RAM
};

// arguments: the program's path or name, then its arguments.
ChildResult RunChild(const std::vector<std::string> &arguments);
