#include "ParallelSource.h"

#include <future>
#include <system_error>

namespace vx {

bitlocker::Error ParallelSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    return readBySalvage(offset, buffer, count);
}

bitlocker::Error ParallelSource::salvageInside(uint64_t offset, void *buffer, size_t count,
                                               ByteRanges *gaps) const
{
    if (count < kShortestSplit || _isFailing.load(std::memory_order_relaxed))
        return _source->salvage(offset, buffer, count, gaps);
    // A multiple of every size of a sector.
    const size_t half = count / 2 / 4096 * 4096;
    auto *place = static_cast<char *>(buffer);
    ByteRanges secondGaps;
    std::future<bitlocker::Error> second;
    try {
        second = std::async(std::launch::async, [&] {
            return _source->salvage(offset + half, place + half, count - half, &secondGaps);
        });
    } catch (const std::system_error &) {  // there is no thread to be had
        return _source->salvage(offset, buffer, count, gaps);
    }
    bitlocker::Error error = _source->salvage(offset, place, half, gaps);
    bitlocker::Error secondError = second.get();
    AddMoved(secondGaps, 0, 0, gaps);
    if (error || secondError)
        _isFailing.store(true, std::memory_order_relaxed);
    return error ? error : secondError;
}

}  // namespace vx
