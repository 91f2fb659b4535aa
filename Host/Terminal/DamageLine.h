// One line of what the volume did not give: which file or folder, which bytes, and why.
//
//     "/a.txt: 1,536 bytes could not be read and were given as zeros (0 to 511, 4096 to 5119):
//      blocks that it needs cannot be read"
//
// Bounded in length: the first kMostRangesOfLine ranges are named, the others counted.
#pragma once

#include "ChannelMessages.h"

#include <string>

namespace vx {

constexpr size_t kMostRangesOfLine = 16;

// Without a line end, and escaped for a terminal.
std::string DamageLine(const ChannelDamage &damage);

}  // namespace vx
