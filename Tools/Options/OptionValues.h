// The numbers that follow an option of volume-export.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vx {

// In bytes: a number, or a number and K, M, G, T or P for that many times 1024, 1024², ...
// "4096" → 4096, "10K" → 10240, "2g" → 2147483648. Nothing for other texts and from 2^63 on.
std::optional<int64_t> ReadSize(const std::string &text);

// A number up to highest, in decimal digits only.
std::optional<uint32_t> ReadCount(const std::string &text, uint32_t highest);

// Seconds, with up to three digits after a point, as milliseconds: "2" → 2000, "0.25" → 250.
// Nothing beyond highest, which is in milliseconds.
std::optional<uint32_t> ReadMilliseconds(const std::string &text, uint32_t highest);

}  // namespace vx
