// Reads a map file of GNU ddrescue line by line, and keeps what it does not mark as rescued.
//
// The format is that of "Mapfile structure" in the manual of ddrescue 1.27: comments after "#", a
// status line of a position, a character and, since version 1.20, the number of the pass, then a
// line for each area with its position, size and status. Numbers are written as in C++.
// Areas follow each other without a gap. Only "+" is rescued. What lies before the first area and
// beyond the last one is not.
//
// Memory: VolumeOpeningOptions::kMostRanges ranges; a map with more of them is refused.
// Errors: a sentence without a full stop, after the number of the line if it is about one.
#pragma once

#include "ByteRange.h"

#include <string>
#include <string_view>
#include <utility>

namespace vx {

class RescueMapParser {
public:
    // Only a comment may be longer.
    static constexpr size_t kLongestLine = 4096;

    // A line without its end. False: Error() says why.
    bool Take(std::string_view line);
    // After the last line.
    bool End();

    const std::string &Error() const { return _error; }
    // Sorted; they do not touch each other.
    ByteRanges TakeUnread() { return std::move(_unread); }
    uint64_t RescuedBytes() const { return _rescued; }

private:
    bool TakeFields(std::string_view line);
    bool TakeStatus(std::string_view *line);
    bool TakeArea(std::string_view *line);
    bool AddUnread(uint64_t offset, uint64_t length);
    bool Fail(const char *reason);

    std::string _error;
    size_t _line = 0;  // its number; 0 after the last one
    bool _hasStatus = false;
    bool _hasArea = false;
    uint64_t _end = 0;  // of the areas so far
    uint64_t _rescued = 0;
    ByteRanges _unread;
};

}  // namespace vx
