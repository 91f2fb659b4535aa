#include "NotingSource.h"

namespace vx {

bitlocker::Error NotingSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    bitlocker::Error error = _source->readAt(offset, buffer, count);
    if (error)
        Note(error, offset, count);
    else if (_hasFailed.load(std::memory_order_relaxed))
        Forget(offset, count);
    return error;
}

void NotingSource::Note(const bitlocker::Error &error, uint64_t offset, size_t count) const
{
    const MutexLock lock(_mutex);
    _failure = error;
    _begin = offset;
    _end = offset + count;
    _hasFailed = true;
}

void NotingSource::Forget(uint64_t offset, size_t count) const
{
    const MutexLock lock(_mutex);
    if (offset < _begin || offset + count > _end)
        return;
    _failure = {};
    _hasFailed = false;
}

bitlocker::Error NotingSource::Failure() const
{
    const MutexLock lock(_mutex);
    return _failure;
}

}  // namespace vx
