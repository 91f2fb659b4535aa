#include "NtfsFolderClaims.h"

namespace vx {

bool NtfsFolderClaims::Claim(uint64_t folder, const Way &way) const
{
    const MutexLock lock(_mutex);
    const auto known = _ways.find(folder);
    if (known != _ways.end())
        return known->second == way;
    if (_ways.size() == kMostFolders)
        return false;
    _ways.emplace(folder, way);
    return true;
}

}  // namespace vx
