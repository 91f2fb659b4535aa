// A file that grows beyond the limit of the process (RLIMIT_FSIZE) is a write that fails, and not
// the end of the program.
//
// Threads: before any other thread runs.
#pragma once

#include <csignal>

namespace vx {

inline void FailWritesBeyondFileSizeLimit()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace vx
