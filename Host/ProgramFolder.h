// Where the running program lies.
//
//     "build/bin/volume-host"  ->  "/home/me/volume/build/bin"
//     "volume-host"            ->  the folder of PATH that it was found in
#pragma once

#include <string>

namespace vx {

// argv0: the name that the program was started by. Empty if it cannot be found.
std::string ProgramFolder(const std::string &argv0);

}  // namespace vx
