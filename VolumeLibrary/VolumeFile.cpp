#include "VolumeFile.h"

#include <algorithm>
#include <limits>

namespace vx {

bool VolumeFile::Read(void *buffer, uint32_t count, uint32_t *done)
{
    constexpr int64_t kMaxPosition = std::numeric_limits<int64_t>::max();
    const int64_t wanted = std::min<int64_t>(count, kMaxPosition - _position);
    *done = 0;
    const bool good =
        ReadAt(_position, static_cast<char *>(buffer), static_cast<uint32_t>(wanted), done);
    _position += *done;
    return good;
}

bool VolumeFile::Move(int64_t distance, uint32_t origin)
{
    int64_t start = 0;
    if (origin == static_cast<uint32_t>(Origin::kPosition))
        start = _position;
    else if (origin != static_cast<uint32_t>(Origin::kStart))
        return false;
    int64_t target = 0;
    if (__builtin_add_overflow(start, distance, &target) || target < 0)
        return false;
    _position = target;
    return true;
}

}  // namespace vx
