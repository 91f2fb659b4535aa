// For a process that holds secrets: if it crashes, no copy of its memory is written.
//
// On Linux it is also made undumpable, which holds where dumps go to a program by a pipe, and keeps
// other processes of the user from reading its memory. Programs that it starts inherit the limit
// of no core file, but not that. Threads: any. Errors: none; what is refused stays as it was.
#pragma once

namespace vx {

void PreventCoreDump();

}  // namespace vx
