// Memory that is in RAM, in bytes.
#pragma once

#include <cstdint>
#include <sys/resource.h>

// Of this process.

int64_t ResidentBytesNow();
int64_t ResidentBytesAtMost();  // the highest so far

// The highest of a process that has ended, as the system counted it.
int64_t PeakBytes(const rusage &usage);
