// glibc 2.34 and later have the call for it.
#include "ChildSpawn.h"

#include <unistd.h>

namespace vx {

int CloseOthersInChild(posix_spawn_file_actions_t *actions, short *)
{
    return posix_spawn_file_actions_addclosefrom_np(actions, STDERR_FILENO + 1);
}

}  // namespace vx
