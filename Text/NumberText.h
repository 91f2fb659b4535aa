// Numbers as text for the user, the same in every locale.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

// 1234567 → "1,234,567"
std::string GroupedText(int64_t number);

// A number of bytes in the unit that suits it: 512 → "512" "bytes", 1536 → "1.5" "KiB". It is below
// 1024 as rounded to its one decimal, so that there is never a "1024.0 KiB". Bytes have no
// decimals.
struct ScaledSize {
    std::string number;
    const char *unit;
};
ScaledSize ScaleSize(uint64_t bytes);

// Binary units: 512 → "512 bytes", 1536 → "1.5 KiB", 5 * 2^30 → "5.0 GiB"
std::string SizeText(int64_t bytes);

// "1.2 GiB (1,288,490,189 bytes)"; small sizes are exact as they are.
std::string ExactSizeText(int64_t bytes);

// 1 → "1 file", 2000 → "2,000 files"
std::string CountText(int64_t count, const char *one, const char *many);

// In MiB, without the unit: 1536 KiB → "1.5"
std::string MebibyteText(int64_t bytes);

// In MiB per second: 10 MiB in 4 s → "2.5 MiB/s". No time at all counts as a millisecond.
std::string SpeedText(int64_t bytes, double seconds);

// About how long: 1 → "1 s", 119 → "119 s", 150 → "3 min", 7200 → "2 h"
std::string LengthText(uint32_t seconds);

// 9 → "0:09", 75 → "1:15", 3700 → "1:01:40"; more than 99 hours is "more than 99 hours".
std::string DurationText(double seconds);

}  // namespace vx
