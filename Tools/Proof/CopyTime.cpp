#include "CopyTime.h"

namespace vx {
namespace {

constexpr int64_t kUnitsPerSecond = 10000000;
constexpr int64_t kSecondsTo1970 = 11644473600;
constexpr int64_t kNanoseconds = 1000000000;

// Beyond it nothing is the same, and nothing below can overflow.
constexpr int64_t kCoarsest = 60;

}  // namespace

bool IsSameTime(const timespec &found, uint64_t modified, int64_t step)
{
    const auto units = static_cast<int64_t>(modified % kUnitsPerSecond);
    const auto since1970 = static_cast<int64_t>(modified / kUnitsPerSecond) - kSecondsTo1970;
    if (found.tv_sec < since1970 - kCoarsest || found.tv_sec > since1970 + kCoarsest)
        return false;
    const int64_t difference = (found.tv_sec - since1970) * kNanoseconds + found.tv_nsec -
                               units * (kNanoseconds / kUnitsPerSecond);
    return difference == 0 || (difference < step && -difference < step);
}

}  // namespace vx
