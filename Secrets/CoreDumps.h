// Keeps secrets out of core dumps, as far as the system can.
//
// Threads: any. Errors: none; what is refused stays as it was.
#pragma once

#include <cstddef>

namespace vx {

// Leaves whole pages out of core dumps. Does nothing where the system cannot do that. Units: bytes.
void LeaveOutOfCoreDumps(void *pages, size_t size);

// Asks for no core dump of this process: what a library may do to the program that has loaded it,
// which can undo it. Programs that this one starts may dump theirs, except on macOS, where they
// inherit the limit and may raise it again. On Linux it also holds where dumps go to a program by a
// pipe, and no other process of the user can attach or read the memory afterwards.
void ForbidCoreDumps();

// For a program that holds secrets itself: as above, and for good. The programs that it starts
// inherit the limit of no core file.
void ForbidCoreDumpsForGood();

}  // namespace vx
