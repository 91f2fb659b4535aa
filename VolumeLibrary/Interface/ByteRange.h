// A range of bytes of a disk or a file, and lists of such ranges in ascending order. Units: bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace vx {

struct ByteRange {
    uint64_t offset = 0;
    uint64_t length = 0;
};

using ByteRanges = std::vector<ByteRange>;

// Adds a range that begins after all the others, or where the last one ends: that one grows then.
inline void AddRange(uint64_t offset, uint64_t length, ByteRanges *ranges)
{
    if (length == 0)
        return;
    if (!ranges->empty() && ranges->back().offset + ranges->back().length == offset)
        ranges->back().length += length;
    else
        ranges->push_back({offset, length});
}

// Leaves out what lies at end and beyond it.
inline void CutRanges(uint64_t end, ByteRanges *ranges)
{
    while (!ranges->empty() && ranges->back().offset >= end)
        ranges->pop_back();
    if (!ranges->empty() && ranges->back().offset + ranges->back().length > end)
        ranges->back().length = end - ranges->back().offset;
}

// Adds what lies within a part of the whole.
inline void AddWithin(const ByteRanges &whole, const ByteRange &part, ByteRanges *ranges)
{
    for (const ByteRange &range : whole) {
        const uint64_t begin = std::max(range.offset, part.offset);
        const uint64_t end = std::min(range.offset + range.length, part.offset + part.length);
        if (begin < end)
            AddRange(begin, end - begin, ranges);
    }
}

// Adds ranges of one place, which begins at from, as ranges of another, where it begins at to.
inline void AddMoved(const ByteRanges &moved, uint64_t from, uint64_t to, ByteRanges *ranges)
{
    for (const ByteRange &range : moved)
        AddRange(range.offset - from + to, range.length, ranges);
}

// The same bytes in ascending order: no range touches another one, and those that are no further
// apart than gap are one. None may end beyond UINT64_MAX.
inline ByteRanges JoinedRanges(ByteRanges ranges, uint64_t gap = 0)
{
    std::sort(ranges.begin(), ranges.end(), [](const ByteRange &one, const ByteRange &other) {
        return one.offset < other.offset;
    });
    ByteRanges joined;
    for (const ByteRange &range : ranges) {
        const uint64_t end = joined.empty() ? 0 : joined.back().offset + joined.back().length;
        if (joined.empty() || (range.offset > end && range.offset - end > gap))
            joined.push_back(range);
        else
            joined.back().length =
                std::max(end, range.offset + range.length) - joined.back().offset;
    }
    return joined;
}

// Of ranges without overlaps.
inline uint64_t BytesIn(const ByteRanges &ranges)
{
    uint64_t bytes = 0;
    for (const ByteRange &range : ranges)
        bytes += range.length;
    return bytes;
}

// Where the range that holds the place ends; the place itself if there is none. The ranges are
// sorted and do not overlap.
inline uint64_t EndOfRangeAt(const ByteRanges &ranges, uint64_t place)
{
    const auto after = std::upper_bound(
        ranges.begin(), ranges.end(), place,
        [](uint64_t wanted, const ByteRange &range) { return wanted < range.offset; });
    if (after == ranges.begin())
        return place;
    const ByteRange &range = *(after - 1);
    return std::max(place, range.offset + range.length);
}

// Where the first of such ranges from the place on begins; UINT64_MAX if there is none.
inline uint64_t NextRangeBegin(const ByteRanges &ranges, uint64_t place)
{
    const auto next = std::lower_bound(
        ranges.begin(), ranges.end(), place,
        [](const ByteRange &range, uint64_t wanted) { return range.offset < wanted; });
    return next == ranges.end() ? UINT64_MAX : next->offset;
}

// Whether such ranges have a byte of the part.
inline bool TouchesRange(const ByteRanges &ranges, const ByteRange &part)
{
    return EndOfRangeAt(ranges, part.offset) > part.offset ||
           NextRangeBegin(ranges, part.offset) < part.offset + part.length;
}

}  // namespace vx
