// Everything is closed that no file action names.
#include "ChildSpawn.h"

#include <unistd.h>

namespace vx {

int CloseOthersInChild(const std::set<int> &given, posix_spawn_file_actions_t *actions,
                       short *flags)
{
    *flags = static_cast<short>(*flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (given.count(standard) > 0)
            continue;
        if (const int error = posix_spawn_file_actions_addinherit_np(actions, standard))
            return error;
    }
    return 0;
}

}  // namespace vx
