// How volume-export ends; the help text says the same in words.
#pragma once

namespace vx {

enum ExitStatus : int {
    kExitSuccess = 0,
    kExitIncomplete = 1,    // something is missing: a path, a folder's listing, an exported file
    kExitUsage = 2,         // wrong command line, or a destination that cannot be used
    kExitNotOpened = 3,     // the volume did not open
    kExitSignalBase = 128,  // stopped by a signal: this and the signal's number
};

}  // namespace vx
