// Opens what lies at a relative path beneath a folder, through real folders only.
//
// relative holds plain components separated by "/" (see VolumePath); empty means the folder itself.
// No symbolic link is followed, neither on the way nor at the end, so whatever another process
// swaps in meanwhile, the descriptor is of something beneath root. flags are those of open(2);
// close-on-exec is added. On failure the result holds no descriptor and errno says why: ELOOP
// whenever the last component is a link.
#pragma once

#include "UniqueFd.h"

#include <string>

namespace vx {

// The quickest way that the platform has.
UniqueFd OpenBeneath(int root, const std::string &relative, int flags);

// Component by component: works on every POSIX system and for paths of any length, but needs
// the permission to read, not only to search, each folder on the way.
UniqueFd OpenBeneathByWalking(int root, const std::string &relative, int flags);

}  // namespace vx
