// Which names a destination takes for one: those that are equal when they are folded. Folds rather
// too much: what stays apart without need only gets a number.
//
// Threads: any.
#pragma once

#include "DestinationTraits.h"

#include <string>

namespace vx {

// Of a name, or of all names of a path: "A./B" → "a/b" where case and ends make no difference. As
// it is where every difference counts.
std::string FoldedFor(const DestinationTraits &traits, const std::string &path);

}  // namespace vx
