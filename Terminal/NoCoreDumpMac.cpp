#include "NoCoreDump.h"

#include <sys/resource.h>

namespace vx {

void PreventCoreDump()
{
    const struct rlimit none = {0, 0};
    (void)setrlimit(RLIMIT_CORE, &none);
}

}  // namespace vx
