#include "DamageList.h"

#include <algorithm>
#include <iterator>

namespace vx {
namespace {

// What the other process sent may be in any order.
void AddRanges(const ByteRanges &added, ByteRanges *ranges)
{
    const auto isBad = [](const ByteRange &range) {
        return range.length == 0 || range.offset > UINT64_MAX - range.length;
    };
    std::remove_copy_if(added.begin(), added.end(), std::back_inserter(*ranges), isBad);
    *ranges = JoinedRanges(std::move(*ranges));
}

void CutToMost(ChannelDamage *row)
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
    if (_rows.size() == kMostRows && _places.count(key) == 0) {
        ++_leftOut;
        return;
    }
    const auto [place, isNew] = _places.emplace(key, _rows.size());
    if (isNew)
        _rows.push_back({damage.kind, damage.obstacle, damage.path, {}, 0});
    ChannelDamage &row = _rows[place->second];
    row.obstacle = damage.obstacle;
    row.more = std::max(row.more, damage.more);
    AddRanges(damage.ranges, &row.ranges);
    CutToMost(&row);
}

}  // namespace vx
