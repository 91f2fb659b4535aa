// The volumes of the stand-in library, by name.
#pragma once

#include "StandInVolume.h"

#include <vector>

namespace vx {

// False: there is none of that name.
bool FindStandInTree(const char *name, std::vector<StandInEntry> *entries);

}  // namespace vx
