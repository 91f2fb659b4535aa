#include "ExportProgress.h"

#include <cmath>
#include <limits>

int32_t ExportPercent(int64_t copied, int64_t total)
{
    using Limits = std::numeric_limits<int32_t>;
    const double percent = static_cast<double>(copied) / static_cast<double>(total) * 100.0;
    if (std::isnan(percent))
        return 0;
    if (percent >= Limits::max())
        return Limits::max();
    if (percent <= Limits::min())
        return Limits::min();
    return static_cast<int32_t>(percent);
}

int64_t AddSizes(int64_t first, int64_t second)
{
    using Limits = std::numeric_limits<int64_t>;
    int64_t sum = 0;
    if (!__builtin_add_overflow(first, second, &sum))
        return sum;
    return second > 0 ? Limits::max() : Limits::min();
}
