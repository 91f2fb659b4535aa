#include "UnixTime.h"

#include <sys/stat.h>

namespace vx {
namespace {

constexpr uint64_t kUnitsPerSecond = 10000000;
constexpr int64_t kSecondsTo1970 = 11644473600;
constexpr long kNanosecondsPerUnit = 100;

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

}  // namespace vx
