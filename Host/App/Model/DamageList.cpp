#include "DamageList.h"

#include <algorithm>

namespace vx {
namespace {

// Both are sorted; neither has overlaps.
ByteRanges Union(const ByteRanges &one, const ByteRanges &other)
{
    ByteRanges all(one.size() + other.size());
    std::merge(one.begin(), one.end(), other.begin(), other.end(), all.begin(),
               [](const ByteRange &a, const ByteRange &b) { return a.offset < b.offset; });
    ByteRanges united;
    for (const ByteRange &range : all) {
        const uint64_t end = range.offset + range.length;
        const uint64_t covered = united.empty() ? 0 : united.back().offset + united.back().length;
        if (united.empty() || range.offset > covered)
            united.push_back(range);
        else if (end > covered)
            united.back().length = end - united.back().offset;
    }
    return united;
}

// What the other process sent may be in any order.
ByteRanges Sorted(ByteRanges ranges)
{
    const auto isBad = [](const ByteRange &range) {
        return range.length == 0 || range.offset > UINT64_MAX - range.length;
    };
    ranges.erase(std::remove_if(ranges.begin(), ranges.end(), isBad), ranges.end());
    std::sort(ranges.begin(), ranges.end(),
              [](const ByteRange &a, const ByteRange &b) { return a.offset < b.offset; });
    return Union(ranges, {});
}

void CutToMost(DamageRow *row)
{
    if (row->ranges.size() <= DamageList::kMostRanges)
        return;
    row->more = std::max<uint64_t>(row->more, row->ranges.size() - DamageList::kMostRanges);
    row->ranges.resize(DamageList::kMostRanges);
}

}  // namespace

void DamageList::AddWarnings(const std::vector<std::string> &warnings)
{
    for (const std::string &warning : warnings) {
        if (std::find(_warnings.begin(), _warnings.end(), warning) == _warnings.end())
            _warnings.push_back(warning);
    }
}

void DamageList::AddLost(uint64_t count)
{
    _lost += count;
    _hasLostUncounted = _hasLostUncounted || count == 0;
}

bool DamageList::IsEmpty() const
{
    return _warnings.empty() && _rows.empty() && _lost == 0 && !_hasLostUncounted;
}

void DamageList::Add(const ChannelDamage &damage)
{
    const auto key = std::make_pair(static_cast<uint32_t>(damage.kind), damage.path);
    const auto place = _places.find(key);
    if (place == _places.end() && _rows.size() == kMostRows) {
        ++_leftOut;
        return;
    }
    if (place == _places.end()) {
        _places[key] = _rows.size();
        _rows.push_back(
            {damage.kind, damage.obstacle, damage.path, Sorted(damage.ranges), damage.more});
        return CutToMost(&_rows.back());
    }
    DamageRow &row = _rows[place->second];
    row.obstacle = damage.obstacle;
    row.ranges = Union(row.ranges, Sorted(damage.ranges));
    row.more = std::max(row.more, damage.more);
    CutToMost(&row);
}

}  // namespace vx
