// Makes a write beyond the process's file size limit (RLIMIT_FSIZE) fail instead of ending the
// program.
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
