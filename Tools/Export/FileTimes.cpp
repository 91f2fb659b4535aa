#include "FileTimes.h"

#include <cerrno>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr uint64_t kUnitsPerSecond = 10000000;
constexpr int64_t kSecondsTo1970 = 11644473600;
constexpr long kNanosecondsPerUnit = 100;

// What a system answers that does not clamp a time to what the file system keeps.
bool IsBeyondRange(int error)
{
    return error == EINVAL || error == EOVERFLOW || error == ERANGE;
}

}  // namespace

timespec TimeOf(uint64_t fileTime)
{
    timespec time = {0, UTIME_OMIT};
    if (fileTime == 0)
        return time;
    time.tv_sec = static_cast<time_t>(fileTime / kUnitsPerSecond) - kSecondsTo1970;
    time.tv_nsec = static_cast<long>(fileTime % kUnitsPerSecond) * kNanosecondsPerUnit;
    return time;
}

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
