// glibc 2.34 and later close all that follow by one call; one that is not open may be closed, too.
#include "ChildSpawn.h"

#include <algorithm>
#include <unistd.h>

namespace vx {

int CloseOthersInChild(const std::set<int> &given, posix_spawn_file_actions_t *actions, short *)
{
    int next = STDERR_FILENO + 1;
    for (const int kept : given) {
        for (; next < kept; ++next) {
            if (const int error = posix_spawn_file_actions_addclose(actions, next))
                return error;
        }
        next = std::max(next, kept + 1);
    }
    return posix_spawn_file_actions_addclosefrom_np(actions, next);
}

}  // namespace vx
