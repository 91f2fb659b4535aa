// One open file of a volume, read at a position of its own.
// Threads: one at a time.
// Positions and sizes are bytes; a position is never negative and may lie past the end.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace vx {

struct ByteRange {
    uint64_t offset = 0;
    uint64_t length = 0;
};

class VolumeFile {
public:
    enum class Origin : uint32_t { kStart = 0, kPosition = 1 };

    virtual ~VolumeFile() = default;

    // Reads until count bytes are there or the file ends, and moves the position by what was
    // read, which done receives. False only on an error of the disk.
    bool Read(void *buffer, uint32_t count, uint32_t *done);
    // False, and nothing moves, for an unknown origin or a result that is negative or too large.
    bool Move(int64_t distance, uint32_t origin);

    int64_t Position() const { return _position; }
    // The size at this moment; nothing if the system does not tell.
    virtual std::optional<int64_t> Size() const = 0;
    // What could not be read so far, in the file's order.
    const std::vector<ByteRange> &UnreadRanges() const { return _unread; }

protected:
    // The same as Read at any place. position + count never overflows.
    virtual bool ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done) = 0;

private:
    int64_t _position = 0;
    std::vector<ByteRange> _unread;
};

}  // namespace vx
