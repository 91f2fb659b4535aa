// Everything is closed that no file action names.
#include "ChildSpawn.h"

namespace vx {

int CloseOthersInChild(posix_spawn_file_actions_t *, short *flags)
{
    *flags = static_cast<short>(*flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    return 0;
}

}  // namespace vx
