// Packed data of disk images: zlib streams, and the Adler-32 that also protects what is not packed.
//
// Format: RFC 1950. zlib sees the room that is left in the caller's buffer and no more, and input
// that was read within the given range; it allocates its state of about 40 KiB, whatever the
// stream says. Threads: any number at a time. Units: bytes.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"

namespace vx {

// sum: of the bytes before these, 1 at the beginning.
uint32_t Adler32(ByteView bytes, uint32_t sum = 1);

// Where a stream lies: it ends at end or earlier.
struct PackedRange {
    uint64_t begin;
    uint64_t end;
};

// Unpacks the stream to place, which has room for so many bytes, less than 4 GiB; done receives how
// many came out. Errors: those of the source; SystemError with EIO if the stream is damaged, does
// not end within its range or needs more room, with ENOMEM without memory. place is then undefined.
Error UnpackZlib(const ByteSource &source, PackedRange range, uint8_t *place, size_t room,
                 size_t *done);

}  // namespace vx
