// Why libtsk could not read a disk image, in words of this library.
#pragma once

#include <string>

namespace vx {

// What its last failure on this thread means, one line without a full stop. The failure is
// forgotten.
std::string TakeTskError();

}  // namespace vx
