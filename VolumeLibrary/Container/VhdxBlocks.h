// The disk in a VHDX file. A table says where each block of the disk lies in the file. Blocks that
// the file does not hold are zeros, or in a differencing image what the parent has there; of a
// block that is partly there, a bit for each sector in a block of bits says which are.
//
// Format: [MS-VHDX], sections 2.4 and 2.5. A block whose contents are not defined reads as zeros.
// An entry of a reserved or misplaced kind or with reserved bits, and a block in a place that is
// claimed twice, cannot be read.
//
// Ownership: shares the file and the parent. Threads: any number at a time. Memory: the list of
// contested places; the table is not kept. Errors: kSystemError with "read at" and the place on the
// disk, EIO for what is damaged or lies beyond the end of the file, otherwise the errno of the
// file.
#pragma once

#include "ByteSource.h"

#include <memory>
#include <utility>

namespace vx {

class VhdxBlocks final : public ByteSource {
public:
    struct Shape {
        uint64_t diskBytes = 0;
        uint64_t tableAt = 0;
        uint64_t tableBytes = 0;
        uint32_t blockBytes = 0;   // a power of two of at least 1 MiB
        uint32_t sectorBytes = 0;  // 512 or 4096
        bool hasParent = false;

        // The table has an entry for the bits of so many blocks after their own entries. The disk
        // is at most 64 TiB, so no product overflows.
        uint64_t BlocksOfBits() const { return (uint64_t{sectorBytes} << 23) / blockBytes; }
        uint64_t Blocks() const { return (diskBytes + blockBytes - 1) / blockBytes; }
        uint64_t EntryOfBlock(uint64_t block) const { return block + block / BlocksOfBits(); }
        uint64_t EntryOfBits(uint64_t block) const
        {
            return (block / BlocksOfBits() + 1) * (BlocksOfBits() + 1) - 1;
        }
    };

    enum class State { kNotPresent, kZeros, kPresent, kPartlyPresent, kDamaged };

    // An entry of the table.
    struct Entry {
        State state = State::kDamaged;
        uint64_t at = 0;  // in the file, a multiple of 1 MiB
    };

    // No block lies beyond this place of the file. The largest disk needs half as much.
    static constexpr uint64_t kFurthest = uint64_t{128} << 40;
    static constexpr uint64_t kEntryBytes = 8;
    static constexpr uint64_t kBytesOfBits = uint64_t{1} << 20;  // of a block of them

    static Entry ParseEntry(uint64_t number);

    // contested: places of the file that are claimed twice. parent: as long as the disk; null
    // unless the shape has one.
    VhdxBlocks(std::shared_ptr<const ByteSource> file, const Shape &shape, ByteRanges contested,
               std::shared_ptr<const ByteSource> parent)
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
    Error ReadPartly(uint64_t offset, uint64_t block, uint8_t *place, size_t count) const;
    Error ReadStored(uint64_t offset, const ByteRange &block, uint64_t skip, uint8_t *place,
                     size_t count) const;
    Error ReadElsewhere(uint64_t offset, uint8_t *place, size_t count) const;
    Result<Entry> ReadEntry(uint64_t index, uint64_t offset) const;

    const std::shared_ptr<const ByteSource> _file;
    const Shape _shape;
    const ByteRanges _contested;
    const std::shared_ptr<const ByteSource> _parent;
};

}  // namespace vx
