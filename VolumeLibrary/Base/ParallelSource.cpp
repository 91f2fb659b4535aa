#include "ParallelSource.h"

#include <future>
#include <system_error>

namespace vx {

Error ParallelSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    return ReadBySalvage(offset, buffer, count);
}

Error ParallelSource::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                    ByteRanges *gaps) const
{
    if (count < kShortestSplit || _isFailing.load(std::memory_order_relaxed))
        return _source->Salvage(offset, buffer, count, gaps);
    // A multiple of every size of a sector.
    const size_t half = count / 2 / 4096 * 4096;
    auto *place = static_cast<char *>(buffer);
    ByteRanges secondGaps;
    std::future<Error> second;
    try {
        second = std::async(std::launch::async, [&] {
            return _source->Salvage(offset + half, place + half, count - half, &secondGaps);
        });
    } catch (const std::system_error &) {  // no thread is available
        return _source->Salvage(offset, buffer, count, gaps);
    }
    Error error = _source->Salvage(offset, place, half, gaps);
    Error secondError = second.get();
    AddMoved(secondGaps, 0, 0, gaps);
    if (error || secondError)
        _isFailing.store(true, std::memory_order_relaxed);
    return error ? error : secondError;
}

}  // namespace vx
