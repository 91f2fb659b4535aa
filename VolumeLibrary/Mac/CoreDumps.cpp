#include "CoreDumps.h"

#include <sys/resource.h>

namespace vx::bitlocker {

void LeaveOutOfCoreDumps(void *, size_t)
{
    // There is no such request here. VolumeOpener calls ForbidCoreDumps before it has a key of the
    // volume, so only what was derived from the user's secret before that is not covered.
}

void ForbidCoreDumps()
{
    // The hard limit stays, so that the process can undo this.
    rlimit limit = {};
    (void)::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    (void)::setrlimit(RLIMIT_CORE, &limit);
}

}  // namespace vx::bitlocker
