#include "DiskSync.h"

#include <cerrno>
#include <unistd.h>

namespace vx {

int SyncDiskOf(int folder)
{
    return syncfs(folder) == 0 ? 0 : errno;
}

}  // namespace vx
