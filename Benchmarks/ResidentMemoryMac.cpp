#include "ResidentMemory.h"

#include <mach/mach.h>

namespace {

mach_task_basic_info basicInfo()
{
    mach_task_basic_info info = {};
    mach_msg_type_number_t count = MACH_TASK_BASIC_INFO_COUNT;
    task_info(mach_task_self(), MACH_TASK_BASIC_INFO, reinterpret_cast<task_info_t>(&info), &count);
    return info;
}

}  // namespace

int64_t ResidentBytesNow()
{
    return static_cast<int64_t>(basicInfo().resident_size);
}

int64_t ResidentBytesAtMost()
{
    return static_cast<int64_t>(basicInfo().resident_size_max);
}

// Counted in bytes here.
int64_t PeakBytes(const rusage &usage)
{
    return usage.ru_maxrss;
}
