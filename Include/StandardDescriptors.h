// Keeps the places of the three standard descriptors from being taken by something else.
//
// A program may be started with some of them closed. What it opens next would take their numbers,
// and a message for a person would be written into it.
// Threads: before any other thread runs, and before anything is opened.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace vx {

// Puts the null device where one is closed, opened so that its use fails as that of a closed one
// does. False: it cannot be opened, and the program should not go on.
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
