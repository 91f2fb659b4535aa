// For each folder whose own record is lost: the path by which it was first opened. It holds as long
// as the volume is open, so folders stay a tree.
//
// Threads: any number at a time. Memory: kMostFolders; more than that do not open.
#pragma once

#include "FileSystem.h"
#include "Mutex.h"

#include <map>

namespace vx {

class NtfsFolderClaims {
public:
    static constexpr size_t kMostFolders = size_t{1} << 16;

    // folder: the number of its record. False if it was claimed by another way.
    bool Claim(uint64_t folder, const Way &way) const
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

private:
    mutable Mutex _mutex;
    mutable std::map<uint64_t, Way> _ways VX_GUARDED_BY(_mutex);
};

}  // namespace vx
