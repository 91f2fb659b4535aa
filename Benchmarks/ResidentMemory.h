// The memory of this process that is in RAM, in bytes.
#pragma once

#include <cstdint>

int64_t ResidentBytesNow();
int64_t ResidentBytesAtMost();  // the highest so far
