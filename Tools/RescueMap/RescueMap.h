// What a map file of GNU ddrescue says about an image: which of its bytes were not rescued.
//
// Errors: one line without a line end, ready to follow "volume-export: "; the path in it is safe to
// print. Units: bytes.
#pragma once

#include "ByteRange.h"

#include <optional>
#include <string>

namespace vx {

struct RescueMap {
    ByteRanges unread;  // sorted; they do not touch each other
    uint64_t rescuedBytes = 0;

    // Nothing, and error says why, if the file cannot be read or is no map; see RescueMapParser.
    static std::optional<RescueMap> Read(const std::string &path, std::string *error);
};

}  // namespace vx
