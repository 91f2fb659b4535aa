#include "ParallelSource.h"

#include <future>
#include <system_error>

namespace vx {

bitlocker::Error ParallelSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (count < kShortestSplit)
        return _source->readAt(offset, buffer, count);
    // A multiple of every size of a sector.
    const size_t half = count / 2 / 4096 * 4096;
    auto *place = static_cast<char *>(buffer);
    std::future<bitlocker::Error> second;
    try {
        second = std::async(std::launch::async, [&] {
            return _source->readAt(offset + half, place + half, count - half);
        });
    } catch (const std::system_error &) {  // there is no thread to be had
        return _source->readAt(offset, buffer, count);
    }
    bitlocker::Error error = _source->readAt(offset, place, half);
    bitlocker::Error secondError = second.get();
    return error ? error : secondError;
}

}  // namespace vx
