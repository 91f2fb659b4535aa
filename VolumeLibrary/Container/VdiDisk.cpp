#include "VdiDisk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx {
namespace {

Error AtPlace(Error error, uint64_t offset)
{
    if (error.status == Status::kTruncatedImage)
        error = {Status::kSystemError, "the VDI image ends before this place", EIO};
    error.detail = "read at " + std::to_string(offset) + ": " + error.detail;
    return error;
}

}  // namespace

Error VdiDisk::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    auto *place = static_cast<uint8_t *>(buffer);
    for (size_t done = 0; done < count;) {
        const uint64_t at = offset + done;
        const auto piece = static_cast<size_t>(
            std::min<uint64_t>(count - done, _shape.blockBytes - at % _shape.blockBytes));
        if (Error error = ReadInBlock(at, place + done, piece)) {
            error.bytesRead += done;
            return AtPlace(std::move(error), at);
        }
        done += piece;
    }
    return {};
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
