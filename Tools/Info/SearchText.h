// What a search has found, as text for people.
#pragma once

#include "DiskSearch.h"

#include <string>

namespace vx {

// disk: the path that was searched, as given. The library is asked what opens each volume.
std::string SearchText(const LoadedLibrary &library, const std::string &disk,
                       const DiskSearch &search);

}  // namespace vx
