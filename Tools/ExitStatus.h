// How volume-export ends; the help text says the same in words.
#pragma once

namespace vx {

enum ExitStatus : int {
    kExitSuccess = 0,
    kExitIncomplete = 1,    // something is missing: a path, part of a folder or of a file
    kExitUsage = 2,         // wrong command line, or a destination that cannot be used or is full
    kExitNotOpened = 3,     // the volume did not open
    kExitSignalBase = 128,  // stopped by a signal: this and the signal's number
};

}  // namespace vx
