// The modification time of a copy, against that of its file on the volume. Threads: any.
#pragma once

#include <cstdint>
#include <ctime>
#include <sys/stat.h>

namespace vx {

// Its own source for each system.
timespec ModifiedOf(const struct stat &file);

// modified: 100 ns since 1601-01-01 00:00 UTC. step: what times of the destination are multiples
// of, in nanoseconds; a time that was rounded to it up or down is the same.
bool IsSameTime(const timespec &found, uint64_t modified, int64_t step);

}  // namespace vx
