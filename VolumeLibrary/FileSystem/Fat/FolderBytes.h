// Reads a folder of FAT or exFAT front to back, entry by entry of 32 bytes. It continues after a
// sector that cannot be read, and after an entry that says that none follows, since damage can look
// like one: up to a long stretch of such entries, or to the end of the folder.
//
// Over a long unreadable stretch, more and more of it is skipped untried.
// Ownership: borrows the source. Threads: one at a time.
#pragma once

#include "FatChain.h"
#include "FolderDamage.h"

#include <array>

namespace vx {

class FolderBytes {
public:
    static constexpr size_t kEntryBytes = 32;
    static constexpr size_t kSectorBytes = 512;
    // More bytes than this of entries that say that none follows are the end.
    static constexpr size_t kLongestEmptiness = size_t{256} << 10;
    using Entry = std::array<uint8_t, kEntryBytes>;
    enum class Step { kEntry, kGap, kEnd, kError };

    FolderBytes(const ByteSource &source, FatRuns runs);

    // kGap: the next entry does not adjoin the one before, since a sector is missing, which is
    // noted as damage, or since entries come between that say that none follows.
    // kError: nothing of the folder can be read.
    Step Next(Entry *entry);
    // Whether an entry that says that none follows came before the last one.
    bool IsBeyondEnd() const { return _isBeyondEnd; }
    FolderDamage &Damage() { return _damage; }
    const FolderDamage &Damage() const { return _damage; }

private:
    Step LoadSector();
    void PassOver();

    const ByteSource &_source;
    const FatRuns _runs;
    FolderDamage _damage;
    std::array<uint8_t, kSectorBytes> _sector = {};
    size_t _at = 0;
    size_t _count = 0;  // bytes of the sector
    uint64_t _position = 0;
    uint64_t _emptyInRow = 0;  // bytes
    unsigned _failures = 0;
    unsigned _failuresInRow = 0;
    bool _hasRead = false;
    bool _isBeyondEnd = false;
};

}  // namespace vx
