// The block map of a VDI image, which says where each block of the disk lies in the file.
//
// When it is opened the whole map is read once, to find what is missing from a file that was cut
// short, and the blocks that two places of the disk name: these belong to neither. Later it is read
// through a cache.
//
// Ownership: shares the file. Threads: any number at a time. Memory: 256 KiB, the list of blocks
// named twice (256 KiB), and while it is opened a bit for each block. Units: bytes. Errors: those
// of the file's reads; kSystemError with EIO for an entry that is damaged or lies beyond the end of
// the map or the file.
#pragma once

#include "ByteSource.h"
#include "CachedSource.h"

#include <memory>
#include <optional>
#include <vector>

namespace vx {

struct VdiShape {
    static constexpr uint32_t kSmallestBlock = 512;
    static constexpr uint32_t kLargestBlock = uint32_t{1} << 30;
    static constexpr uint32_t kMostBlocks = uint32_t{1} << 26;

    uint64_t diskBytes = 0;
    uint64_t mapAt = 0;
    uint64_t blocksAt = 0;    // where the first block lies, beyond the map
    uint32_t blocks = 0;      // of the disk, at most kMostBlocks
    uint32_t blockBytes = 0;  // a power of two
    uint32_t extraBytes = 0;  // before the data of each block in the file
};

class VdiMap {
public:
    // Errors: kDamagedContainer if more blocks are named twice than the list holds. Parts of the
    // map that cannot be read are not searched.
    static Result<std::unique_ptr<VdiMap>> Open(std::shared_ptr<const ByteSource> file,
                                                const VdiShape &shape);

    // Where the data of a block of the disk lies; nothing if it is not stored and reads as zeros.
    Result<std::optional<uint64_t>> Find(uint64_t number) const;
    // Of the disk, beyond the end of the file.
    uint64_t MissingBytes() const { return _missingBytes; }

private:
    VdiMap(std::shared_ptr<const ByteSource> file, const VdiShape &shape);
    Error Search();
    void Take(uint32_t entry, uint64_t number, std::vector<bool> *seen);
    uint64_t DataAt(uint32_t entry) const;

    const std::shared_ptr<const ByteSource> _file;
    const CachedSource _cached;
    const VdiShape _shape;
    std::vector<uint32_t> _shared;  // sorted once the map was searched
    uint64_t _missingBytes = 0;
};

}  // namespace vx
