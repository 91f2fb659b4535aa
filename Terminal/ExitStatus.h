// How the programs end. The help text and the man page of each say the same in words.
#pragma once

namespace vx {

enum ExitStatus : int {
    kExitSuccess = 0,
    kExitUsage = 2,         // wrong command line, no secret, or a destination that cannot be used
    kExitSignalBase = 128,  // ended by a signal: this and the signal's number

    // volume-export
    kExitIncomplete = 1,  // something is missing: a path, part of a folder or of a file
    kExitNotOpened = 3,   // the volume did not open

    // volume-mount; and kExitNotOpened
    kExitNotMounted = 1,  // the volume could not be mounted, or the connection to the kernel failed

    // volume-host
    kExitNoNotice = 1,     // the explorer ended without its quit notice
    kExitLinkTaken = 3,    // another host is running, or the paths of the link are in the way
    kExitNotStarted = 4,   // no explorer, or no terminal to ask on
    kExitEndedByHost = 5,  // the explorer did not end after its quit notice
    kExitNotSent = 6,      // the message of --send
    kExitDamaged = 7,      // the notice came; but the volume did not give everything
    kExitStayedShut = 8,   // the notice came; but the volume did not open
};

}  // namespace vx
