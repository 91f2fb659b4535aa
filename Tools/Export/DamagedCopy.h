// Copies that are not whole, and what they hold.
//
// Threads: any.
#pragma once

#include <string>

namespace vx {

// Whether a complete copy in an open folder may replace another file there without a byte being
// lost: the other one has the same bytes or, where it is marked as damaged, zeros. False if one of
// them is no ordinary file or cannot be read.
bool HoldsAllOf(int folder, const std::string &copy, const std::string &other);

}  // namespace vx
