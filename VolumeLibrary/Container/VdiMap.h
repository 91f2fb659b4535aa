// The block map of a VDI image, which says where each block of the disk lies in the file.
//
// When it is opened the whole map is read once, to find what is missing from a file that was cut
// short, and the blocks that two places of the disk name: these belong to neither. If the header
// counts more blocks in use than the map has, each place that the map calls never written may be
// that of one of them: none can be read. Later the map is read through a cache.
//
// Ownership: shares the file. Threads: any number at a time. Memory: 256 KiB, the list of blocks
// named twice (256 KiB), of a map that lacks blocks 16 MiB at most for those places, and while it
// is opened a bit for each block. Units: bytes. Errors: those of the file's reads; kSystemError
// with EIO for an entry that is damaged or lies beyond the end of the map or the file.
#pragma once

#include "ByteSource.h"
#include "CachedSource.h"

#include <algorithm>
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
    uint32_t usedBlocks = 0;  // as the header counts them
};

class VdiMap {
public:
    static constexpr const char *kInDoubt =
        "the block map of the VDI image lacks blocks that are in use; one may belong here";

    // Errors: kDamagedContainer if more blocks are named twice, or more places are in doubt, than
    // the lists hold. Parts of the map that cannot be read are not searched, and count as in use.
    static Result<std::unique_ptr<VdiMap>> Open(std::shared_ptr<const ByteSource> file,
                                                const VdiShape &shape);

    // Where the data of a block of the disk lies; nothing if it is not stored and reads as zeros.
    Result<std::optional<uint64_t>> Find(uint64_t number) const;
    // Of the disk, beyond the end of the file.
    uint64_t MissingBytes() const { return _missingBytes; }
    // How many blocks that are in use the map does not have.
    uint64_t LackingBlocks() const
    {
        return _shape.usedBlocks - std::min<uint64_t>(_shape.usedBlocks, _namedBlocks);
    }
    // Of the disk: where one of those may belong, in ascending order.
    const ByteRanges &InDoubt() const { return _inDoubt; }

private:
    VdiMap(std::shared_ptr<const ByteSource> file, const VdiShape &shape);
    // visit(number, entry): each block of the disk; no entry if it cannot be read.
    template <typename Visitor>
    void VisitEntries(const Visitor &visit) const;
    Error Search();
    Error FindInDoubt();
    void Take(uint32_t entry, uint64_t number, std::vector<bool> *seen);
    uint64_t DataAt(uint32_t entry) const;

    const std::shared_ptr<const ByteSource> _file;
    const CachedSource _cached;
    const VdiShape _shape;
    std::vector<uint32_t> _shared;  // sorted once the map was searched
    ByteRanges _inDoubt;
    uint64_t _missingBytes = 0;
    uint64_t _namedBlocks = 0;
};

}  // namespace vx
