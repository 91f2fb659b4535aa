// How the disk in an image file is read: piece by piece, with errors that name the place on the
// disk.
#pragma once

#include "Error.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>

namespace vx {

// Calls read(offset, place, count) for each piece of the range, none of which goes beyond a
// multiple of the unit. Its first Error ends the read and is returned, with the bytes before the
// piece added to bytesRead. Units: bytes.
template <typename Reader>
Error ReadPiecewise(uint64_t offset, void *buffer, size_t count, uint64_t unit, const Reader &read)
{
    auto *const begin = static_cast<uint8_t *>(buffer);
    for (uint8_t *place = begin; count > 0;) {
        const auto piece = static_cast<size_t>(std::min<uint64_t>(count, unit - offset % unit));
        if (Error error = read(offset, place, piece)) {
            error.bytesRead += static_cast<size_t>(place - begin);
            return error;
        }
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

// The error of a read of the image file, for a place on the disk. format: "VHD".
inline Error AtPlaceOfDisk(Error error, uint64_t offset, const char *format)
{
    if (error.status == Status::kTruncatedImage) {
        error.status = Status::kSystemError;
        error.systemError = EIO;
        error.detail = "the " + std::string(format) + " image ends before this place";
    }
    error.detail = "read at " + std::to_string(offset) + ": " + error.detail;
    return error;
}

}  // namespace vx
