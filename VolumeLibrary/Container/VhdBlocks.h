// The disk in a VHD image that grows. A table says where each block of the disk lies in the file; a
// block begins with a bit for each of its sectors. Blocks that the file does not hold, and sectors
// whose bit is not set, are zeros, or in a differencing image what the parent has there. A block in
// a place that is claimed twice cannot be read.
//
// Without a parent, a sector whose bit is not set though its place in the file is not zeros cannot
// be read either: by the format it was never written, and yet something was. Some programs take
// what is stored, some zeros; here neither is passed off as the disk.
//
// Ownership: shares the file and the parent. Threads: any number at a time. Memory: the list of
// contested places. Errors: kSystemError with "read at" and the place on the disk, EIO for what is
// damaged or lies beyond the end of the table or the file, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace vx {

class VhdBlocks final : public ByteSource {
public:
    static constexpr uint32_t kSmallestBlock = 512;
    static constexpr uint32_t kLargestBlock = uint32_t{1} << 28;
    static constexpr uint64_t kSector = 512;
    static constexpr uint64_t kEntryBytes = 4;
    static constexpr uint32_t kNotStored = 0xFFFFFFFF;

    struct Shape {
        uint64_t diskBytes = 0;
        uint64_t tableAt = 0;
        uint32_t entries = 0;     // of the table
        uint32_t blockBytes = 0;  // a power of two, from kSmallestBlock to kLargestBlock

        // Before the data of a block.
        uint64_t BytesOfBits() const
        {
            const uint64_t bytes = (blockBytes / kSector + 7) / 8;
            return (bytes + kSector - 1) / kSector * kSector;
        }
        // Of a block in the file.
        uint64_t StoredBytes() const { return BytesOfBits() + blockBytes; }
        // The same as far as the disk needs it. number: of a block of the disk.
        uint64_t NeededBytes(uint64_t number) const
        {
            return BytesOfBits() + std::min<uint64_t>(blockBytes, diskBytes - number * blockBytes);
        }
        uint64_t NeededEntries() const
        {
            return std::min<uint64_t>(entries, (diskBytes + blockBytes - 1) / blockBytes);
        }
    };

    // contested: places of the file that are claimed twice. parent: as long as the disk; null if
    // there is none.
    VhdBlocks(std::shared_ptr<const ByteSource> file, Shape shape, ByteRanges contested,
              std::shared_ptr<const ByteSource> parent = nullptr)
        : _file(std::move(file)),
          _shape(shape),
          _contested(std::move(contested)),
          _parent(std::move(parent))
    {
    }

    uint64_t Size() const override { return _shape.diskBytes; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    Error ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const;
    Error ReadStored(uint64_t block, uint64_t offset, uint8_t *place, size_t count) const;
    Error ReadUnmarked(uint64_t stored, uint64_t offset, uint8_t *place, size_t count) const;
    Error ReadElsewhere(uint64_t offset, uint8_t *place, size_t count) const;

    const std::shared_ptr<const ByteSource> _file;
    const Shape _shape;
    const ByteRanges _contested;
    const std::shared_ptr<const ByteSource> _parent;
};

}  // namespace vx
