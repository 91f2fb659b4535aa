// Source: the manual page renameatx_np(2); from macOS 10.12.
#include "RenameToFree.h"

#include <cerrno>
#include <cstdio>

namespace vx {

int RenameToFree(int folder, const char *name, const char *freeName)
{
    if (renameatx_np(folder, name, folder, freeName, RENAME_EXCL) == 0)
        return 0;
    return errno == EINVAL ? ENOTSUP : errno;
}

}  // namespace vx
