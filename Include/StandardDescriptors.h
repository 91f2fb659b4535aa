// Keeps the numbers of the three standard descriptors from being reused.
//
// A program may be started with some of them closed. The next file that it opens would take such a
// number, and messages would be written into that file.
// Threads: before any other thread runs, and before anything is opened.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace vx {

// Opens the null device in place of each closed one, in a mode in which using it fails as on a
// closed descriptor. False: it cannot be opened, and the program should end.
inline bool HoldStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF)
            continue;
        const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (open("/dev/null", mode) != descriptor)
            return false;
    }
    return true;
}

}  // namespace vx
