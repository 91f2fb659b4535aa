// Searches a whole disk for encrypted volumes by what they begin with and by the copies of their
// metadata, whatever the table of partitions says.
//
// A block of metadata counts if its checksum is right and it names a place for itself. Blocks that
// name the same places belong to one volume if they lie where it then would have its copies. What
// was left by volumes that were overwritten later is found as well, and may overlap.
//
// Ownership: borrows the disk and the flag. Threads: one. Units: bytes. A disk that is full of
// forged blocks costs no more memory than kMostBlocks, and at most twice the time of reading it.
#pragma once

#include "BootSector.h"
#include "ByteSource.h"
#include "CancelFlag.h"
#include "Guid.h"
#include "MetadataBlock.h"
#include "Method.h"
#include "StepProgress.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace vx::bitlocker {

struct SearchedVolume {
    // Of its beginning on the disk; the likeliest of up to three if only one copy is left.
    uint64_t offset = 0;
    uint64_t bytes = 0;          // as its metadata has it; 0 if unknown
    bool hasBootSector = false;  // its first sector is there and leads to a copy that was found
    Method method = Method::kNone;
    Guid identifier;
    std::string description;
    std::vector<uint64_t> copies;  // sound ones, on the disk, in ascending order
};

class VolumeSearch {
public:
    static constexpr size_t kMostBlocks = 4096;
    static constexpr size_t kMostBootSectors = 65536;

    // cancel may be null.
    VolumeSearch(const ByteSource &disk, const CancelFlag *cancel, const ProgressReceiver &progress)
        : _disk(disk), _cancel(cancel), _progress(progress)
    {
    }

    // To be called once. Errors: kCancelled; kSystemError with ENODEV if the disk is gone. What was
    // found until then can be taken nevertheless.
    Error Run();

    // In the order of the disk.
    std::vector<SearchedVolume> Volumes() const;
    uint64_t UnreadBytes() const { return _unreadBytes; }
    // How many blocks were not checked because there were too many.
    uint64_t UncheckedBlocks() const { return _uncheckedBlocks; }

private:
    // What is kept of a sound block.
    struct Block {
        uint64_t at = 0;  // on the disk
        uint64_t bytes = 0;
        Method method = Method::kNone;
        std::string description;
    };
    // What all blocks of one volume have in common.
    using Places = std::array<uint64_t, 3>;
    using Kin = std::pair<std::array<uint8_t, 16>, Places>;  // identifier, places
    using Votes = std::map<uint64_t, int>;                   // for beginnings

    bool Visit(uint64_t offset, ByteView sector);
    void TakeBootSector(uint64_t offset, ByteView sector);
    void TakeBlock(uint64_t offset, ByteView header);
    void CheckBlock(uint64_t offset, const Places &places);
    bool IsBootOf(uint64_t begin, const Places &places) const;
    Votes VotesOf(const Kin &kin, const std::vector<Block> &blocks) const;
    static uint64_t LikeliestBegin(const Block &block, const Places &places, const Votes &votes);
    void AddVolumesOf(const Kin &kin, const std::vector<Block> &blocks,
                      std::vector<SearchedVolume> *volumes) const;

    const ByteSource &_disk;
    const CancelFlag *const _cancel;
    const ProgressReceiver _progress;
    uint64_t _unreadBytes = 0;
    uint64_t _uncheckedBlocks = 0;
    uint64_t _checkedBytes = 0;
    uint64_t _soundEnd = 0;  // where the last sound block ends
    size_t _blockCount = 0;
    std::map<Kin, std::vector<Block>> _blocks;
    std::map<Places, std::vector<uint64_t>> _damaged;  // where blocks with wrong checksums are
    size_t _damagedCount = 0;
    std::map<uint64_t, std::vector<uint64_t>> _boots;  // places of metadata by the boot sector's
};

}  // namespace vx::bitlocker
