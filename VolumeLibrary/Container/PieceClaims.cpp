#include "PieceClaims.h"

#include <algorithm>
#include <utility>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;

ByteRanges Sorted(ByteRanges ranges)
{
    std::sort(ranges.begin(), ranges.end(), [](const ByteRange &one, const ByteRange &other) {
        return one.offset < other.offset;
    });
    ByteRanges joined;
    for (const ByteRange &range : ranges) {
        const uint64_t begin = joined.empty() ? 0 : joined.back().offset + joined.back().length;
        const uint64_t end = range.offset + range.length;
        const uint64_t from = std::max(begin, range.offset);
        if (from < end)
            AddRange(from, end - from, &joined);
    }
    return joined;
}

}  // namespace

PieceClaims::PieceClaims(uint64_t fileBytes, uint64_t pieceBytes, ByteRanges beside)
    : _fileBytes(fileBytes),
      _pieceBytes(pieceBytes),
      _slotSectors(std::min<uint64_t>(pieceBytes / kSector, UINT16_MAX)),
      _beside(Sorted(std::move(beside))),
      _slots(std::min(kMostSlots, fileBytes / kSector / _slotSectors + 1))
{
}

void PieceClaims::Add(uint64_t at, uint64_t bytes)
{
    if (at >= _fileBytes)
        return;
    const uint64_t slot = at / kSector / _slotSectors;
    if (slot >= _slots.size())
        _isComplete = false;
    else if (IsTaken(at, bytes))
        _contested.Add({at, bytes});
    else
        _slots[slot] = static_cast<uint16_t>(at / kSector % _slotSectors + 1);
}

bool PieceClaims::IsTaken(uint64_t at, uint64_t bytes) const
{
    if (TouchesRange(_beside, {at, bytes}))
        return true;
    const uint64_t slotBytes = _slotSectors * kSector;
    const uint64_t first = (at - std::min(at, _pieceBytes - kSector)) / slotBytes;
    const uint64_t end = std::min<uint64_t>(_slots.size(), (at + bytes - 1) / slotBytes + 1);
    for (uint64_t slot = first; slot < end; ++slot) {
        const uint64_t begin = slot * slotBytes + (_slots[slot] - uint64_t{1}) * kSector;
        if (_slots[slot] != 0 && begin < at + bytes && at < begin + _pieceBytes)
            return true;
    }
    return false;
}

}  // namespace vx
