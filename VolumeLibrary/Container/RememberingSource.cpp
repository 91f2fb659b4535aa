#include "RememberingSource.h"

#include "GoneErrors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>

namespace vx {
namespace {

uint64_t SectorBelow(uint64_t place)
{
    return place / RememberingSource::kSector * RememberingSource::kSector;
}

// Whether the failure says something about the place that was read.
bool IsOfPlace(const Error &error)
{
    const int number = error.systemError;
    return error.status == Status::kSystemError && !MeansGone(number) && number != ENOMEM &&
           number != EMFILE && number != ENFILE;
}

}  // namespace

Error RememberingSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    if (count > 0 && _hasSuspects.load(std::memory_order_relaxed)) {
        if (Error error = CheckSuspects(offset, count))
            return error;
    }
    return ReadOnce(offset, buffer, count);
}

Error RememberingSource::CheckSuspects(uint64_t offset, size_t count) const
{
    const uint64_t end = offset + count;
    const bool isOneSector = SectorBelow(offset) == SectorBelow(end - 1);
    uint64_t from = SectorBelow(offset);
    for (auto suspect = NextSuspect(from, end); suspect; suspect = NextSuspect(from, end)) {
        Error error;
        if (suspect->tries >= _mostTries)
            error = SystemError(suspect->error, "read at " + std::to_string(suspect->at));
        else if (!isOneSector)
            error = TryAlone(suspect->at);
        if (error) {
            error.bytesRead = static_cast<size_t>(std::max(offset, suspect->at) - offset);
            return error;
        }
        from = suspect->at + kSector;
    }
    return {};
}

Error RememberingSource::TryAlone(uint64_t sector) const
{
    std::array<uint8_t, kSector> bytes;
    return ReadOnce(sector, bytes.data(), static_cast<size_t>(std::min(kSector, Size() - sector)));
}

Error RememberingSource::ReadOnce(uint64_t offset, void *buffer, size_t count) const
{
    Error error = _source->ReadAt(offset, buffer, count);
    if (error && IsOfPlace(error))
        Accuse(SectorBelow(offset + std::min(error.bytesRead, count - 1)), error.systemError);
    else if (!error && count <= kSector && _hasSuspects.load(std::memory_order_relaxed))
        Clear(SectorBelow(offset));
    return error;
}

// The first one that begins in the range.
std::optional<RememberingSource::Suspect> RememberingSource::NextSuspect(uint64_t from,
                                                                         uint64_t end) const
{
    const MutexLock lock(_mutex);
    const auto next = _suspects.lower_bound(from);
    return next != _suspects.end() && next->first < end ? std::optional(next->second)
                                                        : std::nullopt;
}

void RememberingSource::Accuse(uint64_t sector, int error) const
{
    const MutexLock lock(_mutex);
    _hasSuspects = true;
    if (_suspects.size() == kMostKept && _suspects.count(sector) == 0)
        _suspects.clear();
    Suspect &suspect = _suspects[sector];
    suspect = {sector, suspect.tries + 1, error};
}

// It could be read.
void RememberingSource::Clear(uint64_t sector) const
{
    const MutexLock lock(_mutex);
    _suspects.erase(sector);
}

}  // namespace vx
