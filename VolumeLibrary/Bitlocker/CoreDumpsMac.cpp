#include "CoreDumps.h"

#include <sys/resource.h>

namespace vx::bitlocker {

void leaveOutOfCoreDumps(void *, size_t)
{
    // There is no such request here; forbidCoreDumps covers everything.
}

void forbidCoreDumps()
{
    const rlimit none = {0, 0};
    (void)::setrlimit(RLIMIT_CORE, &none);
}

}  // namespace vx::bitlocker
