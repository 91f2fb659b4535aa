// Starts a child with its standard output and error in two pipes, and with no other descriptor of
// this process.
//
// Threads: any. Errors: an errno.
#pragma once

#include "UniqueFd.h"

#include <spawn.h>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

struct StartedChild {
    int error = 0;  // not 0: nothing was started
    pid_t process = -1;
    UniqueFd output;
    UniqueFd errors;
};

// program: a path, or a name that is looked up in PATH.
StartedChild StartChild(const std::string &program, const std::vector<std::string> &arguments);

// The system's way to close every descriptor from 3 on in the child. An errno.
int CloseOthersInChild(posix_spawn_file_actions_t *actions, short *flags);

}  // namespace vx
