// Bytes that are read at any place: a device, an image file, a partition of it, a buffer, or
// the plaintext of an encrypted volume.
//
// Threads: the operations are called from several threads at once. Units: bytes.
#pragma once

#include "ByteRange.h"
#include "Error.h"

#include <cstddef>
#include <cstdint>

namespace vx {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual uint64_t Size() const = 0;
    // Fills the buffer with exactly count bytes from offset on. Errors: kTruncatedImage when the
    // range does not end before Size(), kSystemError; the buffer's contents are then undefined.
    virtual Error ReadAt(uint64_t offset, void *buffer, size_t count) const = 0;

    // Fills the whole buffer: what cannot be read is zeros, and gaps receives where in the source
    // that is, in ascending order. The error is that of the first gap; none if there is none.
    Error Salvage(uint64_t offset, void *buffer, size_t count, ByteRanges *gaps) const;

protected:
    // The same for a range before Size(). A source that knows no better gives all or nothing.
    virtual Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                                ByteRanges *gaps) const;

    // Implements ReadAt through SalvageInside.
    Error ReadBySalvage(uint64_t offset, void *buffer, size_t count) const;

    // The error of a range that reaches beyond the end, or none.
    static Error CheckRange(uint64_t size, uint64_t offset, size_t count);
};

}  // namespace vx
