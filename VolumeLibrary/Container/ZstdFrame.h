// Packed data of disk images: frames of zstd.
//
// Format: RFC 8878. libzstd is given the room that is left in the caller's buffer and unpacks in
// one step, so that it needs no window of its own, whatever the frame says. Threads: any number at
// a time. Memory: the input and some 160 KiB, for the time of a call. Units: bytes.
#pragma once

#include "ByteSource.h"
#include "ZlibStream.h"

namespace vx {

// Unpacks frames to place until they fill the room, and ignores what comes after them. range: at
// most kLongestZstdInput. Errors: those of the source; kSystemError with EIO if a frame is damaged
// or if they do not fill the room exactly, with ENOMEM if memory is short. The bytes at place are
// then undefined.
constexpr uint64_t kLongestZstdInput = uint64_t{8} << 20;
Error UnpackZstd(const ByteSource &source, PackedRange range, uint8_t *place, size_t room);

}  // namespace vx
