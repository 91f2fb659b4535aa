// A child with its standard output and error in two pipes, an empty input, and no other descriptor
// of this process. Its signals are those of a fresh process.
//
// Ownership: the caller waits for it. Threads: any. Errors: an errno.
#pragma once

#include "UniqueFd.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

struct PipedChild {
    int error = 0;  // not 0: nothing was started
    pid_t process = -1;
    UniqueFd output;
    UniqueFd errors;
};

// program: a path, or a name that is looked up in PATH.
PipedChild StartPipedChild(const std::string &program, const std::vector<std::string> &arguments);

}  // namespace vx
