// The platform has no call that resolves a whole path beneath a folder.
#include "OpenBeneath.h"

namespace vx {

UniqueFd OpenBeneath(int root, const std::string &relative, int flags)
{
    return OpenBeneathByWalking(root, relative, flags);
}

}  // namespace vx
