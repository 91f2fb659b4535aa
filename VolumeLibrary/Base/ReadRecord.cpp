#include "ReadRecord.h"

#include <iterator>
#include <utility>

namespace vx {

void ReadRecord::Add(uint64_t offset, uint64_t length)
{
    if (length == 0 || length > UINT64_MAX - offset)
        return;
    const MutexLock lock(_mutex);
    Join(offset, offset + length);
    while (_ends.size() > kMostRanges)
        Coarsen();
}

ByteRanges ReadRecord::All() const
{
    const MutexLock lock(_mutex);
    ByteRanges ranges;
    ranges.reserve(_ends.size());
    for (const auto &[begin, end] : _ends)
        ranges.push_back({begin, end - begin});
    return ranges;
}

void ReadRecord::Join(uint64_t begin, uint64_t end)
{
    begin -= begin % _granule;
    const uint64_t rest = end % _granule;
    if (rest > 0 && end <= UINT64_MAX - _granule)
        end += _granule - rest;
    auto next = _ends.upper_bound(begin);
    if (next != _ends.begin() && std::prev(next)->second >= begin)
        --next;
    while (next != _ends.end() && next->first <= end) {
        begin = std::min(begin, next->first);
        end = std::max(end, next->second);
        next = _ends.erase(next);
    }
    _ends.emplace_hint(next, begin, end);
}

void ReadRecord::Coarsen()
{
    std::map<uint64_t, uint64_t> ranges;
    ranges.swap(_ends);
    _granule *= 2;
    for (const auto &[begin, end] : ranges)
        Join(begin, end);
}

}  // namespace vx
