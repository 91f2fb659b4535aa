#include "NotingSource.h"

namespace vx {

bitlocker::Error NotingSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    bitlocker::Error error = _source->readAt(offset, buffer, count);
    if (error) {
        const MutexLock lock(_mutex);
        _failure = error;
    }
    return error;
}

bitlocker::Error NotingSource::salvageInside(uint64_t offset, void *buffer, size_t count,
                                             ByteRanges *gaps) const
{
    return _source->salvage(offset, buffer, count, gaps);
}

bitlocker::Error NotingSource::Failure() const
{
    const MutexLock lock(_mutex);
    return _failure;
}

}  // namespace vx
