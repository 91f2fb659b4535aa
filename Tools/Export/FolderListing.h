// What an open folder of this machine holds.
#pragma once

#include <string>
#include <vector>

namespace vx {

// The names that begin with a text, in the system's order, without "." and ".."; none if the folder
// cannot be read.
std::vector<std::string> NamesIn(int folder, const std::string &prefix = "");

}  // namespace vx
