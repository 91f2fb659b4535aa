// Ends the process when the other end of the channel is closed, as it is when the host was killed:
// with SIGTERM, so that a running opening is cancelled and its keys are overwritten, and if that
// does not help within a second, at once.
//
// Ownership: makes a descriptor of its own of the given one, for as long as the process.
// Threads: one of its own, until the process ends.
#pragma once

namespace vx {

// False: the system has no thread or no descriptor left.
bool EndWithChannel(int descriptor);

}  // namespace vx
