// Times that a user writes as ISO 8601 does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vx {

// 100 ns since 1601-01-01 00:00 UTC. Nothing if the text is no time of the years 1601 to 9999.
// A date, which means its first moment; or a date, "T" and a time to the minute, to the second or
// finer, and "Z" or an offset from UTC. Without those two it is a local time of this machine.
// "2020-09-30T17:00:00.1234567Z" → 132459588001234567; also "2019-03-02", "2019-03-02T10:00",
// "2019-03-02T10:00:05+01:00"
std::optional<uint64_t> ReadIsoTime(const std::string &text);

}  // namespace vx
