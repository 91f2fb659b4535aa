// Packed data of disk images: zlib streams, and the Adler-32 that also protects unpacked data; and
// streams of deflate without the frame of zlib, which no checksum protects.
//
// Format: RFC 1950, RFC 1951. zlib is given the room that is left in the caller's buffer and input
// from within the given range, nothing else; it allocates its state of about 40 KiB, whatever the
// stream says. Threads: any number at a time. Units: bytes.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"

namespace vx {

// sum: that of the preceding bytes, 1 at the beginning.
uint32_t Adler32(ByteView bytes, uint32_t sum = 1);

// Where a stream lies: it ends at end or before.
struct PackedRange {
    uint64_t begin;
    uint64_t end;
};

// Unpacks the stream to place and returns the number of bytes there. room: the size of place, less
// than 4 GiB. Errors: those of the source; kSystemError with EIO if the stream is damaged, does not
// end within its range or needs more room, with ENOMEM if memory is short. The bytes at place are
// then undefined.
Result<size_t> UnpackZlib(const ByteSource &source, PackedRange range, uint8_t *place, size_t room);
Result<size_t> UnpackDeflate(const ByteSource &source, PackedRange range, uint8_t *place,
                             size_t room);

}  // namespace vx
