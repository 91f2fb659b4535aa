#include "CoreDumps.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace vx {

void LeaveOutOfCoreDumps(void *pages, size_t size)
{
    (void)madvise(pages, size, MADV_DONTDUMP);
}

void ForbidCoreDumps()
{
    (void)prctl(PR_SET_DUMPABLE, 0);
}

void ForbidCoreDumpsForGood()
{
    const struct rlimit none = {0, 0};
    (void)setrlimit(RLIMIT_CORE, &none);
    ForbidCoreDumps();
}

}  // namespace vx
