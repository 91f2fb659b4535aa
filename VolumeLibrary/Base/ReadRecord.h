// Which places of a disk were read as tables: all but the contents of files.
//
// Places are kept as granules of 4 KiB, so that neighbours become one range. Once there are
// kMostRanges, granules become twice as large until they fit: the record may then name too much,
// but never too little. Memory: 4 MiB at most. Threads: any number at a time. Units: bytes.
#pragma once

#include "ByteRange.h"
#include "Mutex.h"

#include <atomic>
#include <map>

namespace vx {

class ReadRecord {
public:
    static constexpr size_t kMostRanges = size_t{1} << 16;
    static constexpr uint64_t kFirstGranule = 4096;

    // May throw std::bad_alloc.
    void Add(uint64_t offset, uint64_t length);
    // In the order of the disk; they do not touch each other.
    ByteRanges All() const;

    // Until the file system is opened, all that is read counts as tables.
    bool IsOpening() const { return _isOpening.load(std::memory_order_relaxed); }
    void EndOpening() { _isOpening.store(false, std::memory_order_relaxed); }

private:
    void Join(uint64_t begin, uint64_t end) VX_REQUIRES(_mutex);
    void Coarsen() VX_REQUIRES(_mutex);

    std::atomic<bool> _isOpening{true};
    mutable Mutex _mutex;
    uint64_t _granule VX_GUARDED_BY(_mutex) = kFirstGranule;
    std::map<uint64_t, uint64_t> _ends VX_GUARDED_BY(_mutex);  // by where the range begins
};

}  // namespace vx
