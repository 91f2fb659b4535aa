// The index of a folder, read from the first name to the last, each block once. A block that is
// damaged or cannot be read is left out with what lies below it, and reading continues with the
// next one.
//
// Ownership: borrows the table and the volume. Threads: one at a time. Memory: the blocks from the
// root to the present one, and two bits for each block.
#pragma once

#include "NtfsIndexBlock.h"
#include "NtfsStream.h"

namespace vx {

class NtfsIndex {
public:
    NtfsIndex(const NtfsMft &mft, const ByteSource &volume);

    // Goes to the first name of the folder.
    void Begin(const NtfsRecord &folder, uint64_t number);
    // False when there are no more.
    bool Next(NtfsReference *file, NtfsIndexName *name);
    // Why names are missing among those that were given, kDamaged or kUnreadable: the first reason
    // that was found.
    VolumeObstacle Trouble() const { return _trouble; }
    void NoteTrouble(VolumeObstacle found);
    // After the last name: whether the index contradicts itself, so that names may be missing even
    // without trouble. An entry does not fit, or a block is in use that was not reached.
    bool IsInDoubt() const { return _isInDoubt || HasUnreachedBlock(); }

    // Whether the record is that of a folder, even if it only has a folder's index.
    static bool IsFolder(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &record,
                         uint64_t number);

private:
    bool BeginRoot(const NtfsRecord &folder, uint64_t number);
    void FindBlocks(const NtfsRecord &folder, uint64_t number);
    void Descend(uint64_t block);
    std::optional<uint64_t> PositionOf(uint64_t block) const;
    bool IsFirstVisit(uint64_t position);
    std::optional<NtfsIndexBlock> ReadBlock(uint64_t block);
    bool StepToEntry();
    bool WasVisited(uint64_t position) const;
    bool HasUnreachedBlock() const;
    std::optional<std::vector<uint8_t>> BlocksInUse() const;

    const NtfsMft &_mft;
    const ByteSource &_volume;
    FileExtents _blocks;  // of the index, without its root
    uint32_t _blockBytes = 0;
    std::vector<NtfsIndexBlock> _path;  // from the root to the present block
    std::vector<bool> _visited;         // by the places of blocks in the index
    bool _hasGivenEntry = false;        // the next step leaves the present entry
    NtfsStream _inUse;                  // a bit for each block
    bool _isInDoubt = false;
    VolumeObstacle _trouble = VolumeObstacle::kNone;
};

}  // namespace vx
