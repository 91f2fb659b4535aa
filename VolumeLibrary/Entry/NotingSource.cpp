#include "NotingSource.h"

namespace vx {

Error NotingSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    Error error = _source->ReadAt(offset, buffer, count);
    if (error) {
        const MutexLock lock(_mutex);
        _failure = error;
    }
    return error;
}

Error NotingSource::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                  ByteRanges *gaps) const
{
    return _source->Salvage(offset, buffer, count, gaps);
}

Error NotingSource::Failure() const
{
    const MutexLock lock(_mutex);
    return _failure;
}

}  // namespace vx
