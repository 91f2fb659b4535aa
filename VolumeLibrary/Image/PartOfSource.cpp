#include "PartOfSource.h"

namespace vx {

bitlocker::Error PartOfSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = checkRange(_size, offset, count))
        return error;
    return _source->readAt(_offset + offset, buffer, count);
}

}  // namespace vx
