// The command line of Volume Host: "[IMAGE]", and "-Name VALUE" for a setting of this run, as
// applications of the desktop take it.
//
// Threads: any. Errors: one line without a line end.
#pragma once

#include <string>
#include <vector>

namespace vx {

struct HostArguments {
    bool help = false;
    bool version = false;
    std::string image;  // what to choose at the start; empty: nothing
    std::string error;  // of wrong use; empty otherwise
};

// words: without the program. After "--" a word is an image even if it begins with "-".
HostArguments ParseHostArguments(const std::vector<std::string> &words);

extern const char kHostUsage[];
extern const char kHostHelp[];
extern const char kHostVersion[];

}  // namespace vx
