// A volume library that a volume crashes.
#include "IVolume.h"

#include <csignal>

extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *, const char *, const char *, IVolume **)
{
    signal(SIGSEGV, SIG_DFL);
    raise(SIGSEGV);
    return 0;
}
