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
// ReadingLimits change this: areas that are never read; sectors that are tried more often, and then
// none is given up untried; and slow areas that are left. With a limit of time a read is split into
// pieces of 64 KiB. After one that took longer the following area is given up: 64 KiB, and twice as
// much each time that the first piece after such an area is slow as well, up to 64 MiB. A piece
// that was slow and failed is given up from where it failed. A read that never returns is waited
// for: a block device offers no way to interrupt it.
//
// Threads: any number at a time. As long as nothing was bad, a read costs one relaxed load more
// than the raw one. Places that fail are examined by one thread at a time.
// Memory: FaultMap's, and 64 KiB once something was bad. May throw std::bad_alloc.
// Errors: a number of errno; ENODEV if the disk is gone, kWithheld for what is never read. Units:
// bytes.
#pragma once

#include "ByteRange.h"
#include "FaultMap.h"
#include "Mutex.h"
#include "ReadingLimits.h"

#include <atomic>
#include <cerrno>
#include <utility>

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
    static constexpr uint64_t kTimedPiece = uint64_t{64} << 10;
    static constexpr int kWithheld = ENODATA;

    // raw must outlive the reader. size: nothing is read beyond it.
    CarefulReader(const RawReader &raw, uint64_t size, ReadingLimits limits = {})
        : _raw(raw),
          _size(size),
          _limits(std::move(limits)),
          _hasFaults(_limits.withheld != nullptr)
    {
    }

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
        int error;  // 0: nothing bad is known of it
    };
    struct Attempt : RawReader::Outcome {
        bool isSlow = false;
    };

    Stretch StretchAt(uint64_t at, uint64_t end) const;
    std::optional<BadRun> RunAt(uint64_t place) const;
    uint64_t NextBegin(uint64_t place) const;
    uint64_t EndOfWithheld(uint64_t place) const;
    bool Remember(const BadRun &run) const;
    uint64_t Stride(uint64_t length) const;

    uint64_t ReadStretch(uint64_t at, uint64_t end, Request *request) const;
    uint64_t ReadInPieces(uint64_t at, uint64_t end, uint64_t hint, Request *request) const
        VX_REQUIRES(_examining);
    uint64_t GiveUpSector(uint64_t at, uint64_t end, Request *request) const
        VX_REQUIRES(_examining);
    uint64_t LeaveSlow(uint64_t at, uint64_t end, const Attempt &attempt, Request *request) const
        VX_REQUIRES(_examining);
    void SkipFrom(uint64_t begin, uint64_t slow, uint64_t end) const VX_REQUIRES(_examining);

    std::optional<BadRun> Follow(uint64_t at, uint64_t end) const;
    void GoOn(const BadRun &run) const VX_REQUIRES(_examining);
    uint64_t EndOfRun(uint64_t bad, uint64_t good) const VX_REQUIRES(_examining);
    Attempt Probe(uint64_t begin, uint64_t end) const VX_REQUIRES(_examining);
    Attempt Try(uint64_t offset, char *buffer, uint64_t count) const;
    Attempt TryOnce(uint64_t offset, char *buffer, uint64_t count) const;

    const RawReader &_raw;
    const uint64_t _size;
    const ReadingLimits _limits;
    mutable std::atomic<bool> _hasFaults;  // or is gone
    mutable std::atomic<bool> _isGone{false};
    mutable Mutex _examining;  // taken before _mutex
    mutable std::vector<char> _scratch VX_GUARDED_BY(_examining);
    mutable uint64_t _skippedTo VX_GUARDED_BY(_examining) = UINT64_MAX;
    mutable uint64_t _skip VX_GUARDED_BY(_examining) = 0;
    mutable Mutex _mutex;
    mutable FaultMap _map VX_GUARDED_BY(_mutex);
};

}  // namespace vx
