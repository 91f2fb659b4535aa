#include "ResidentMemory.h"

#include <fstream>
#include <string>

namespace {

// A line of /proc/self/status, which counts in KiB: "VmHWM:     1234 kB"
int64_t StatusBytes(const std::string &key)
{
    std::ifstream status("/proc/self/status");
    std::string name;
    while (status >> name) {
        int64_t kibibytes = 0;
        if (name == key + ":" && status >> kibibytes)
            return kibibytes * 1024;
        status.ignore(1 << 16, '\n');
    }
    return 0;
}

}  // namespace

int64_t ResidentBytesNow()
{
    return StatusBytes("VmRSS");
}

int64_t ResidentBytesAtMost()
{
    return StatusBytes("VmHWM");
}

// Counted in KiB here.
int64_t PeakBytes(const rusage &usage)
{
    return int64_t{usage.ru_maxrss} * 1024;
}
