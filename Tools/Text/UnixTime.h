// Times of a volume as the system's calls take them.
#pragma once

#include <cstdint>
#include <ctime>

namespace vx {

// 100 ns since 1601-01-01 00:00 UTC: 116444736000000000 → 1970-01-01 00:00 UTC; 0 → what utimensat
// leaves alone. Threads: any.
timespec TimeOf(uint64_t fileTime);

}  // namespace vx
