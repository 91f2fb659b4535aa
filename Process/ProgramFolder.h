// Where the running program lies, whatever name or link it was started by.
//
//     /usr/bin/volume-host, a link  ->  "/usr/lib/volume-explorer"
//
// Threads: any.
#pragma once

#include <string>

namespace vx {

// Absolute and without links. Empty if the system does not say it.
std::string ProgramFolder();

}  // namespace vx
