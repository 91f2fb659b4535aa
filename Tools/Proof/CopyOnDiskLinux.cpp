#include "CopyOnDisk.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vx {

// Only pages that are written can be dropped (Linux man-pages, posix_fadvise(2)).
bool LeaveMemory(int file)
{
    if (fsync(file) != 0)
        return false;
    errno = posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    return errno == 0;
}

}  // namespace vx
