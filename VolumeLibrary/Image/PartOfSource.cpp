#include "PartOfSource.h"

namespace vx {

bitlocker::Error PartOfSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = checkRange(_size, offset, count))
        return error;
    return _source->readAt(_offset + offset, buffer, count);
}

bitlocker::Error PartOfSource::salvageInside(uint64_t offset, void *buffer, size_t count,
                                             ByteRanges *gaps) const
{
    ByteRanges below;
    bitlocker::Error error = _source->salvage(_offset + offset, buffer, count, &below);
    AddMoved(below, _offset, 0, gaps);
    return error;
}

}  // namespace vx
