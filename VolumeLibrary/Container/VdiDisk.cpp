#include "VdiDisk.h"

#include "PiecewiseRead.h"

#include <cstring>
#include <utility>

namespace vx {

Error VdiDisk::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    return ReadPiecewise(offset, buffer, count, _shape.blockBytes,
                         [this](uint64_t at, uint8_t *place, size_t bytes) {
                             Error error = ReadInBlock(at, place, bytes);
                             return error ? AtPlaceOfDisk(std::move(error), at, "VDI") : Error();
                         });
}

Error VdiDisk::ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const
{
    const auto data = _map->Find(offset / _shape.blockBytes);
    if (!data)
        return data.Failure();
    if (*data)
        return _file->ReadAt(**data + offset % _shape.blockBytes, place, count);
    std::memset(place, 0, count);
    return {};
}

}  // namespace vx
