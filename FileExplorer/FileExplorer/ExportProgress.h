// The arithmetic of an export's progress, defined for every input.
#pragma once

#include <cstdint>

// Whole percent, truncated towards zero and held to what 32 bits can say; 0 of 0 is 0.
// 1 of 3 → 33, 5 of 4 → 125, 1 of 0 → 2147483647
int32_t ExportPercent(int64_t copied, int64_t total);

// The sum, held to what 64 bits can say.
int64_t AddSizes(int64_t first, int64_t second);
