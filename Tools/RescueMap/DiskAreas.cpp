#include "DiskAreas.h"

#include <algorithm>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;

}  // namespace

void DiskAreas::Add(uint64_t offset, uint64_t length)
{
    if (length == 0 || length > UINT64_MAX - kSector - offset)
        return;
    const uint64_t begin = offset / kSector * kSector;
    const uint64_t end = (offset + length + kSector - 1) / kSector * kSector;
    _areas.push_back({begin, end - begin});
    _isSorted = false;
    if (_areas.size() < 2 * _mostAreas)
        return;
    for (Join(); _areas.size() > _mostAreas; Join())
        _nearest = std::max(kSector, 2 * _nearest);
}

ByteRanges DiskAreas::All()
{
    if (!_isSorted)
        Join();
    return _areas;
}

void DiskAreas::Join()
{
    std::sort(_areas.begin(), _areas.end(), [](const ByteRange &one, const ByteRange &other) {
        return one.offset < other.offset;
    });
    ByteRanges joined;
    for (const ByteRange &area : _areas) {
        const uint64_t end = joined.empty() ? 0 : joined.back().offset + joined.back().length;
        if (joined.empty() || (area.offset > end && area.offset - end > _nearest))
            joined.push_back(area);
        else
            joined.back().length = std::max(end, area.offset + area.length) - joined.back().offset;
    }
    _areas.swap(joined);
    _isSorted = true;
}

}  // namespace vx
