#include "PartOfSource.h"

namespace vx {

Error PartOfSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    return _source->ReadAt(_offset + offset, buffer, count);
}

Error PartOfSource::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                  ByteRanges *gaps) const
{
    ByteRanges below;
    Error error = _source->Salvage(_offset + offset, buffer, count, &below);
    AddMoved(below, _offset, 0, gaps);
    return error;
}

}  // namespace vx
