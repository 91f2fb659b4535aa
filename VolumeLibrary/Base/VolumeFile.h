// One open file of a volume, read at a position of its own.
// Threads: one at a time.
// Positions and sizes are bytes; a position is never negative and may lie past the end.
#pragma once

#include "ByteSource.h"
#include "LostRanges.h"

#include <cstdint>
#include <optional>

namespace vx {

class VolumeFile {
public:
    enum class Origin : uint32_t { kStart = 0, kPosition = 1 };

    virtual ~VolumeFile() = default;

    // Fills the whole buffer: with the file's bytes up to its end, and with zeros in place of what
    // cannot be read and beyond the end. Moves the position by count, but not beyond the end. done
    // receives how many bytes were really read. False if some were not; the next read continues
    // after them.
    bool Read(void *buffer, uint32_t count, uint32_t *done) noexcept;
    // The same for a file of which nothing can be read any more; no read is tried.
    bool GiveUp(void *buffer, uint32_t count, uint32_t *done) noexcept;
    // False, and nothing moves, for an unknown origin or a result that is negative or too large.
    bool Move(int64_t distance, uint32_t origin);

    int64_t Position() const { return _position; }
    // The size at this moment; nothing if the system does not say.
    virtual std::optional<int64_t> Size() const = 0;
    // What could not be read so far, in the file's order.
    const ByteRanges &UnreadRanges() const { return _unread.All(); }
    // Whether bytes from the position on have been read already and wait to be taken.
    virtual bool IsAhead() const { return false; }
    // Where its bytes are stored on the disk, in the file's order. What is stored in a table, is
    // zeros without a place, or is not on a disk of sectors, has none. May throw std::bad_alloc.
    virtual void VisitPlaces(const StoredPlaceVisitor &) const {}

protected:
    friend class ReadAheadFile;  // reads another file's bytes

    // The end of the file, if it is known without asking for it.
    virtual int64_t KnownSize() const = 0;
    // Reads at any place; position + count never overflows. Returns how many of count bytes the
    // file has there. Of those, what cannot be read is zeros, and is added to unread with its
    // place in the file. May throw std::bad_alloc.
    virtual uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) = 0;

private:
    int64_t _position = 0;
    LostRanges _unread;
};

}  // namespace vx
