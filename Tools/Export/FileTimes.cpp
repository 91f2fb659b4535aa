#include "FileTimes.h"

#include <cerrno>
#include <sys/stat.h>

namespace vx {
namespace {

// What a system answers that does not clamp a time to what the file system keeps.
bool IsBeyondRange(int error)
{
    return error == EINVAL || error == EOVERFLOW || error == ERANGE;
}

}  // namespace

int SetTimes(int file, const PlanEntry &entry)
{
    int error = entry.created == 0 ? 0 : SetCreationTime(file, TimeOf(entry.created));
    const timespec times[] = {TimeOf(entry.accessed), TimeOf(entry.modified)};
    const bool hasTimes = entry.accessed != 0 || entry.modified != 0;
    if (hasTimes && futimens(file, times) != 0)
        error = errno;
    return IsBeyondRange(error) ? 0 : error;
}

}  // namespace vx
