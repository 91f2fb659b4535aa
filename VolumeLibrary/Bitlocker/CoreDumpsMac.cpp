#include "CoreDumps.h"

#include <sys/resource.h>

namespace vx::bitlocker {

void leaveOutOfCoreDumps(void *, size_t)
{
    // There is no such request here. Keys are in memory only after VolumeOpener has called
    // forbidCoreDumps, or the text from which they were made is there as well.
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
