// The disk in a VHD image that grows. A table says where each block of the disk lies in the file; a
// block begins with a bit for each of its sectors. Blocks that the file does not hold, and sectors
// whose bit is not set, are zeros.
//
// Ownership: shares the file. Threads: any number at a time. Memory: only the stack. Errors:
// kSystemError with "read at" and the place on the disk, EIO for what lies beyond the end of the
// table or the file, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"

#include <memory>
#include <utility>

namespace vx {

class VhdBlocks final : public ByteSource {
public:
    static constexpr uint32_t kSmallestBlock = 512;
    static constexpr uint32_t kLargestBlock = uint32_t{1} << 28;

    struct Shape {
        uint64_t diskBytes = 0;
        uint64_t tableAt = 0;
        uint32_t entries = 0;     // of the table
        uint32_t blockBytes = 0;  // a power of two, from kSmallestBlock to kLargestBlock
    };

    VhdBlocks(std::shared_ptr<const ByteSource> file, Shape shape)
        : _file(std::move(file)), _shape(shape)
    {
    }

    uint64_t Size() const override { return _shape.diskBytes; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    Error ReadInBlock(uint64_t offset, uint8_t *place, size_t count) const;
    Error ReadStored(uint64_t block, uint64_t skip, uint8_t *place, size_t count) const;

    const std::shared_ptr<const ByteSource> _file;
    const Shape _shape;
};

}  // namespace vx
