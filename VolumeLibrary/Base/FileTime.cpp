#include "FileTime.h"

#include <limits>

namespace vx {
namespace {

constexpr int64_t kUnitsPerSecond = 10000000;
constexpr int64_t kNanosecondsPerUnit = 100;
constexpr int64_t kSecondsFrom1601To1970 = 11644473600;
constexpr int64_t kLatest = std::numeric_limits<int64_t>::max();

}  // namespace

uint64_t FileTimeFromTimespec(const timespec &time)
{
    if (time.tv_sec < -kSecondsFrom1601To1970)
        return 0;
    // The last second that fits is left out, so that its fraction cannot overflow.
    if (time.tv_sec >= kLatest / kUnitsPerSecond - kSecondsFrom1601To1970)
        return static_cast<uint64_t>(kLatest);
    const int64_t seconds = time.tv_sec + kSecondsFrom1601To1970;
    return static_cast<uint64_t>(seconds * kUnitsPerSecond + time.tv_nsec / kNanosecondsPerUnit);
}

}  // namespace vx
