#include "FreeSpace.h"

#include <algorithm>
#include <sys/statvfs.h>

namespace vx {

void RoomCount::Add(int64_t size, int64_t replaced)
{
    const int64_t block = static_cast<int64_t>(_blockSize);
    const int64_t bytes = std::max<int64_t>(size, 0);
    int64_t rounded = 0;
    // Sizes beyond any disk count as the largest number.
    if (__builtin_add_overflow(bytes, block - 1, &rounded) ||
        __builtin_add_overflow(_taken, rounded / block * block, &_taken)) {
        _taken = INT64_MAX;
        _peak = INT64_MAX;
        return;
    }
    _peak = std::max(_peak, static_cast<uint64_t>(std::max<int64_t>(_taken, 0)));
    __builtin_sub_overflow(_taken, replaced, &_taken);
}

bool LookAtSpace(int folder, DiskSpace *space)
{
    struct statvfs disk;
    if (fstatvfs(folder, &disk) != 0 || disk.f_frsize == 0)
        return false;
    space->blockSize = disk.f_frsize;
    space->freeBytes = static_cast<uint64_t>(disk.f_bavail) * disk.f_frsize;
    return true;
}

}  // namespace vx
