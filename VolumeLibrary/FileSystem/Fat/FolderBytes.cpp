#include "FolderBytes.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

// A disk tries a bad sector for seconds, so only a few are read.
constexpr unsigned kMostFailures = 1024;
constexpr unsigned kFailuresBeforeLongerSteps = 16;
constexpr unsigned kMostDoublings = 7;

}  // namespace

FolderBytes::FolderBytes(const ByteSource &source, FatRuns runs)
    : _source(source), _runs(std::move(runs))
{
    if (_runs.obstacle != VolumeObstacle::kNone)
        _damage.Note(_runs.obstacle);
}

FolderBytes::Step FolderBytes::Next(Entry *entry)
{
    while (_emptyInRow <= kLongestEmptiness) {
        if (_at == _count) {
            const Step step = LoadSector();
            if (step != Step::kEntry)
                return step;
        }
        std::memcpy(entry->data(), _sector.data() + _at, kEntryBytes);
        _at += kEntryBytes;
        if (entry->front() != 0 && _emptyInRow > 0) {
            _emptyInRow = 0;
            _at -= kEntryBytes;
            return Step::kGap;
        }
        if (entry->front() != 0)
            return Step::kEntry;
        _isBeyondEnd = true;
        _emptyInRow += kEntryBytes;
    }
    return Step::kEnd;
}

FolderBytes::Step FolderBytes::LoadSector()
{
    const uint64_t left = _runs.Bytes() - std::min(_runs.Bytes(), _position);
    const auto count = static_cast<uint32_t>(std::min<uint64_t>(left, kSectorBytes));
    if (count < kEntryBytes)
        return _hasRead || _failures == 0 ? Step::kEnd : Step::kError;
    uint32_t done = 0;
    _at = 0;
    _count = 0;
    if (!ReadRuns(_source, _runs.runs, _position, reinterpret_cast<char *>(_sector.data()), count,
                  &done)) {
        PassOver();
        return Step::kGap;
    }
    _position += count;
    _count = count / kEntryBytes * kEntryBytes;
    _failuresInRow = 0;
    _hasRead = true;
    return Step::kEntry;
}

void FolderBytes::PassOver()
{
    _damage.Note(VolumeObstacle::kUnreadable);
    const unsigned doublings =
        std::min(_failuresInRow / kFailuresBeforeLongerSteps, kMostDoublings);
    _position += uint64_t{kSectorBytes} << doublings;
    ++_failuresInRow;
    if (++_failures == kMostFailures)
        _position = _runs.Bytes();
}

}  // namespace vx
