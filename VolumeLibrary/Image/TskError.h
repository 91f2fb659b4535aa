// What libtsk says of its last failure on this thread.
#pragma once

#include <string>

namespace vx {

// One line without a full stop; empty if it says nothing. The failure is forgotten.
std::string TakeTskError();

}  // namespace vx
