// What CarefulReader keeps to beyond its own rules. Units: bytes, milliseconds.
#pragma once

#include "ByteRange.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vx {

struct ReadingLimits {
    static constexpr const char *kMarkedByMap = "the map marks it as not read";

    // What is never read: sorted, and without overlaps. Null for nothing.
    std::shared_ptr<const ByteRanges> withheld;
    std::string whyWithheld;        // empty: kMarkedByMap
    uint32_t retries = 0;           // how often a sector that fails alone is tried again
    uint32_t slowMilliseconds = 0;  // a read that takes longer is followed by a skip; 0: none is
};

}  // namespace vx
