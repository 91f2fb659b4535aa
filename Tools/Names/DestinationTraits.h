// What the file system of a destination does with names, sizes and times.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace vx {

struct DestinationTraits {
    static constexpr size_t kUsualLongestName = 255;

    // Of one name, in bytes.
    size_t longestName = kUsualLongestName;
    // If names are limited in UTF-16 units: how many they may have, however many bytes that are.
    size_t longestUnits = 0;
    // "A" and "a" are one name.
    bool ignoresCase = false;
    // A letter with its accent and the letter before its accent are one name.
    bool ignoresForm = false;
    // "a", "a." and "a " are one name.
    bool dropsEnds = false;
    // A name may not end with a dot or a blank.
    bool refusesEnds = false;
    // "con", "nul.txt" and the like are no names.
    bool refusesDevices = false;
    // ASCII characters that no name may have, besides "/".
    std::string refused;
    // Of one file, in bytes.
    int64_t largestFile = std::numeric_limits<int64_t>::max();
    // What a modification time is a multiple of, in nanoseconds; 0 if none is kept.
    int64_t timeStep = 1;

    bool MergesNames() const { return ignoresCase || ignoresForm || dropsEnds; }
};

}  // namespace vx
