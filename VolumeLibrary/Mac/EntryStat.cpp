#include "EntryStat.h"

#include <fcntl.h>

namespace vx {

bool StatEntry(int folder, const char *name, EntryStat *stat)
{
    struct stat found;
    if (fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0)
        return false;
    const bool hasBirth = found.st_birthtimespec.tv_sec > 0;
    stat->mode = found.st_mode;
    stat->size = static_cast<uint64_t>(found.st_size);
    stat->modified = found.st_mtimespec;
    stat->accessed = found.st_atimespec;
    stat->created = hasBirth ? found.st_birthtimespec : found.st_ctimespec;
    return true;
}

}  // namespace vx
