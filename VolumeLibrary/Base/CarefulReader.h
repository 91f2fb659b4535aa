// Reads a disk or a file that may be failing: gets all that can be read without trying a bad place
// twice, since a single failed read can take seconds.
//
// A failed read is repeated up to where it stopped, and from there in pieces that begin with one
// sector and double as long as they succeed; so an error that goes away costs nothing. A sector
// that fails alone is bad, and remembered. From there on the run of bad sectors is followed
// forwards: the longer it is, the further ahead lies the next sector that is tried (an eighth of
// its length, 64 MiB at most), and what lies between two bad ones is given up. At the first good
// sector it then searches back to the exact end of the run, so a run of less than 8 KiB is exact
// sector by sector, and the ends of longer ones are exact too. A run is followed no further than
// needed; the next read of what follows continues it.
//
// Once the disk is gone, no further read is tried.
//
// Threads: any number at a time. As long as nothing was bad, a read costs one relaxed load more
// than the raw one. Places that fail are examined by one thread at a time.
// Memory: FaultMap's, and 64 KiB once something was bad. May throw std::bad_alloc.
// Errors: a number of errno; ENODEV if the disk is gone. Units: bytes.
#pragma once

#include "ByteRange.h"
#include "FaultMap.h"
#include "Mutex.h"

#include <atomic>

namespace vx {

// What is read: tries once, and says how far it came.
class RawReader {
public:
    struct Outcome {
        uint64_t done = 0;  // with an error: how far it probably came
        int error = 0;      // of errno; 0: all was read
    };

    virtual ~RawReader() = default;
    virtual Outcome ReadOnce(uint64_t offset, char *buffer, size_t count) const = 0;
    // Called after a failure: false if the disk or file is gone.
    virtual bool IsThere() const { return true; }
};

class CarefulReader {
public:
    static constexpr uint64_t kSector = 512;
    static constexpr uint64_t kLongestStride = uint64_t{64} << 20;

    // raw must outlive the reader. size: nothing is read beyond it.
    CarefulReader(const RawReader &raw, uint64_t size) : _raw(raw), _size(size) {}

    // Fills the whole buffer. What cannot be read is zeros and is added to unread; 0, or the error
    // of the first such place.
    int Read(uint64_t offset, char *buffer, size_t count, ByteRanges *unread) const;
    bool IsGone() const { return _isGone.load(std::memory_order_relaxed); }
    // Whether something was bad so far, or it is gone.
    bool HasFaults() const { return _hasFaults.load(std::memory_order_relaxed); }

private:
    struct Request;
    struct Stretch {
        uint64_t end;
        bool isBad;
    };

    Stretch StretchAt(uint64_t at, uint64_t end) const;
    std::optional<BadRun> RunAt(uint64_t place) const;
    uint64_t NextBegin(uint64_t place) const;
    bool Remember(const BadRun &run) const;

    uint64_t ReadStretch(uint64_t at, uint64_t end, Request *request) const;
    uint64_t ReadInPieces(uint64_t at, uint64_t end, uint64_t hint, Request *request) const
        VX_REQUIRES(_examining);
    uint64_t GiveUpSector(uint64_t at, uint64_t end, Request *request) const
        VX_REQUIRES(_examining);

    std::optional<BadRun> Follow(uint64_t at, uint64_t end) const;
    void GoOn(const BadRun &run) const VX_REQUIRES(_examining);
    uint64_t EndOfRun(uint64_t bad, uint64_t good) const VX_REQUIRES(_examining);
    bool IsReadable(uint64_t begin, uint64_t end) const VX_REQUIRES(_examining);
    RawReader::Outcome ReadOnce(uint64_t offset, char *buffer, uint64_t count) const;

    const RawReader &_raw;
    const uint64_t _size;
    mutable std::atomic<bool> _hasFaults{false};  // or is gone
    mutable std::atomic<bool> _isGone{false};
    mutable Mutex _examining;  // taken before _mutex
    mutable std::vector<char> _scratch VX_GUARDED_BY(_examining);
    mutable Mutex _mutex;
    mutable FaultMap _map VX_GUARDED_BY(_mutex);
};

}  // namespace vx
