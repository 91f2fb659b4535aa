// Bytes that are read at any place: a device, an image file, a partition of it, a buffer, or
// the plaintext of an encrypted volume.
//
// Threads: readAt is called from several threads at once. Units: bytes.
#pragma once

#include "Error.h"

#include <cstddef>
#include <cstdint>

namespace vx::bitlocker {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual uint64_t size() const = 0;
    // Fills the buffer with exactly count bytes from offset on. Errors: TruncatedImage when the
    // range does not end before size(), SystemError; the buffer's contents are then undefined.
    virtual Error readAt(uint64_t offset, void *buffer, size_t count) const = 0;

protected:
    // The error of a range that reaches behind the end, or none.
    static Error checkRange(uint64_t size, uint64_t offset, size_t count);
};

}  // namespace vx::bitlocker
