// Which files say of themselves that they lie in which folder: for a folder whose index is damaged.
//
// Found in one pass over the table of files, made when it is first needed. A file is known by its
// number alone; its record says which names it has, and whether it is still the same file. Left out
// are deleted files and the file system's own.
// Ownership: shares the volume; the table must outlive it. Threads: any number at a time; one makes
// the pass while the others wait. Memory: kMostNames of 8 bytes each; of a volume with more names
// only that many are known. Time: one pass, over no more bytes than the volume has.
// Errors: records that cannot be read, or are damaged, are left out.
#pragma once

#include "Mutex.h"
#include "NtfsMft.h"

#include <deque>

namespace vx {

class NtfsParents {
public:
    static constexpr size_t kMostNames = size_t{8} << 20;
    static constexpr uint64_t kRoot = 5;  // the record of the root folder
    // The records below this number are the file system's own.
    static constexpr uint64_t kFirstOrdinary = 24;

    NtfsParents(std::shared_ptr<const ByteSource> volume, const NtfsMft &mft);

    // The numbers of the files in this folder, each once, in their order.
    std::vector<uint32_t> FilesIn(uint64_t folder) const;

private:
    // A folder's number in the high half, a file's in the low one.
    using Pairs = std::deque<uint64_t>;

    Pairs Collect() const;
    void CollectRun(const FileRun &run, uint64_t *next, Pairs *pairs) const;
    void CollectPiece(uint64_t first, uint64_t count, Pairs *pairs) const;
    void CollectRecord(uint64_t number, std::vector<uint8_t> bytes, Pairs *pairs) const;
    std::optional<std::vector<uint8_t>> ReadRecords(uint64_t first, uint64_t count) const;

    const std::shared_ptr<const ByteSource> _volume;
    const NtfsMft &_mft;
    mutable Mutex _mutex;
    mutable bool _isCollected VX_GUARDED_BY(_mutex) = false;
    mutable Pairs _pairs VX_GUARDED_BY(_mutex);  // sorted
};

}  // namespace vx
