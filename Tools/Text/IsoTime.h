// Times of a volume as ISO 8601 writes them.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

// fileTime: 100 ns since 1601-01-01 00:00 UTC (Microsoft Learn, "FILETIME structure"). In UTC and
// to the last of its digits; a year beyond 9999 begins with "+", as in the standard.
// 132459588001234567 → "2020-09-30T17:00:00.1234567Z"
std::string IsoTime(uint64_t fileTime);

}  // namespace vx
