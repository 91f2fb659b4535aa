#include "PartOfSource.h"

#include <algorithm>

namespace vx {

Error PartOfSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    return _source->ReadAt(_offset + offset, buffer, count);
}

void PartOfSource::Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const
{
    const uint64_t inside = std::min(length, _size - std::min(_size, offset));
    _source->Locate(_offset + offset, inside, [&](StoredPlace place) {
        place.position -= _offset;
        visit(place);
    });
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
