// Bytes that are read at any place: a device, an image file, a partition of it, a buffer, or
// the plaintext of an encrypted volume.
//
// Threads: the operations are called from several threads at once. Units: bytes.
#pragma once

#include "ByteRange.h"
#include "Error.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace vx {

// Where a part of a source or a file lies on the disk or image. Where whole sectors are decrypted,
// offset and length are those of whole sectors, of which the part may only be a piece.
struct StoredPlace {
    uint64_t position = 0;  // where the part begins in what was asked about
    uint64_t offset = 0;    // on the disk or image
    uint64_t length = 0;
};

using StoredPlaceVisitor = std::function<void(const StoredPlace &place)>;

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

    // Visits where the range is stored, in its order; what is stored nowhere, or lies beyond
    // Size(), is left out. Reads nothing. A source over another one asks that one.
    virtual void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const;
    // Where the next byte is, from offset on, that may not be zero: what lies before it is a hole
    // of a sparse file and need not be read. Size() if there is none; offset of a source that knows
    // no better.
    virtual uint64_t NextData(uint64_t offset) const { return offset; }
    // Called for a table that is needed and is read as a part of something longer.
    virtual void NoteTable(uint64_t, size_t) const {}

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
