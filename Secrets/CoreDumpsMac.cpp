#include "CoreDumps.h"

#include <sys/resource.h>

namespace vx {

// There is no such request here. VolumeOpener calls ForbidCoreDumps before it has a key of the
// volume, so only what was derived from the user's secret before that is not covered.
void LeaveOutOfCoreDumps(void *, size_t) {}

// The hard limit stays, so that the process can undo this.
void ForbidCoreDumps()
{
    struct rlimit limit = {};
    (void)getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = 0;
    (void)setrlimit(RLIMIT_CORE, &limit);
}

void ForbidCoreDumpsForGood()
{
    const struct rlimit none = {0, 0};
    (void)setrlimit(RLIMIT_CORE, &none);
}

}  // namespace vx
