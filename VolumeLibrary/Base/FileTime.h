// Time stamps as the volume's records carry them: units of 100 ns since 1601-01-01 00:00 UTC.
#pragma once

#include <cstdint>
#include <ctime>

namespace vx {

// 1970-01-01 00:00 UTC gives 116444736000000000. A time before 1601 gives 0, and one that is
// too late for a signed 64-bit count gives the largest such count.
uint64_t FileTimeFromTimespec(const timespec &time);

}  // namespace vx
