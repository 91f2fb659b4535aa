#include "DiskAreas.h"

#include <algorithm>
#include <utility>

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
    _areas = JoinedRanges(std::move(_areas), _nearest);
    _isSorted = true;
}

}  // namespace vx
