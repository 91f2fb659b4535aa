#include "RenameToFree.h"

#include <cerrno>
#include <cstdio>

namespace vx {

int RenameToFree(int folder, const char *name, const char *freeName)
{
    if (renameat2(folder, name, folder, freeName, RENAME_NOREPLACE) == 0)
        return 0;
    return errno == EINVAL || errno == ENOSYS ? ENOTSUP : errno;
}

}  // namespace vx
