#include "CoreDumps.h"

#include <sys/mman.h>
#include <sys/prctl.h>

namespace vx::bitlocker {

void LeaveOutOfCoreDumps(void *pages, size_t size)
{
    (void)::madvise(pages, size, MADV_DONTDUMP);
}

void ForbidCoreDumps()
{
    // Unlike a limit of zero this also holds where dumps go to a program by a pipe, and is not
    // inherited by the programs that this one starts.
    (void)::prctl(PR_SET_DUMPABLE, 0);
}

}  // namespace vx::bitlocker
