#include "CoreDumps.h"

#include <sys/resource.h>

namespace vx::bitlocker {

void leaveOutOfCoreDumps(void *, size_t)
{
    // There is no such request here. VolumeOpener calls forbidCoreDumps before it has a key of the
    // volume; what was made of the user's secret before that is not covered.
}

void forbidCoreDumps()
{
    // The hard limit stays: it is not this library's to take from the process for good.
    rlimit limit = {};
    (void)::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    (void)::setrlimit(RLIMIT_CORE, &limit);
}

}  // namespace vx::bitlocker
