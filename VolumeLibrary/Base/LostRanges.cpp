#include "LostRanges.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace vx {
namespace {

uint64_t EndOf(const ByteRange &range)
{
    return range.offset + range.length;
}

ByteRange Joined(const ByteRange &one, const ByteRange &other)
{
    const uint64_t begin = std::min(one.offset, other.offset);
    return {begin, std::max(EndOf(one), EndOf(other)) - begin};
}

}  // namespace

// Room for one is there from the beginning, so that adding need not fail.
LostRanges::LostRanges()
{
    _ranges.reserve(1);
}

void LostRanges::Add(const ByteRange &range) noexcept
{
    const auto first = std::lower_bound(
        _ranges.begin(), _ranges.end(), range.offset,
        [](const ByteRange &known, uint64_t offset) { return EndOf(known) < offset; });
    ByteRange joined = range;
    auto last = first;
    for (; last != _ranges.end() && last->offset <= EndOf(joined); ++last)
        joined = Joined(joined, *last);
    if (first != last) {
        *first = joined;
        _ranges.erase(std::next(first), last);
        return;
    }
    const auto place = std::distance(_ranges.begin(), first);
    if (HasRoom())
        _ranges.insert(std::next(_ranges.begin(), place), range);
    else
        Widen(first, range);
}

bool LostRanges::HasRoom() noexcept
{
    if (_ranges.size() < _ranges.capacity())
        return true;
    if (_ranges.size() >= kMost)
        return false;
    try {
        _ranges.reserve(std::min(kMost, 4 * _ranges.size()));
    } catch (const std::bad_alloc &) {
        return false;
    }
    return true;
}

// Takes the range into the nearer one of its neighbours, of which next is the later one.
void LostRanges::Widen(ByteRanges::iterator next, const ByteRange &range) noexcept
{
    const bool isLast = next == _ranges.end();
    const bool isFirst = next == _ranges.begin();
    const bool isEarlierNearer =
        !isFirst && !isLast &&
        range.offset - EndOf(*std::prev(next)) <= next->offset - EndOf(range);
    const auto nearest = isLast || isEarlierNearer ? std::prev(next) : next;
    *nearest = Joined(*nearest, range);
}

}  // namespace vx
