#include "EntryStat.h"

#include <fcntl.h>

namespace vx {
namespace {

timespec ToTimespec(const statx_timestamp &stamp)
{
    timespec time = {};
    time.tv_sec = stamp.tv_sec;
    time.tv_nsec = stamp.tv_nsec;
    return time;
}

}  // namespace

bool StatEntry(int folder, const char *name, EntryStat *stat)
{
    constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    struct statx found;
    if (statx(folder, name, kFlags, STATX_BASIC_STATS | STATX_BTIME, &found) != 0)
        return false;
    const bool hasBirth = (found.stx_mask & STATX_BTIME) != 0;
    stat->mode = found.stx_mode;
    stat->size = found.stx_size;
    stat->modified = ToTimespec(found.stx_mtime);
    stat->accessed = ToTimespec(found.stx_atime);
    stat->created = ToTimespec(hasBirth ? found.stx_btime : found.stx_ctime);
    return true;
}

}  // namespace vx
