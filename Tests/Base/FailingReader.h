// A disk of any size that fails at chosen places and counts its reads.
#pragma once

#include "CarefulReader.h"
#include "Mutex.h"

#include <atomic>
#include <map>
#include <vector>

namespace vx {

class FailingReader final : public RawReader {
public:
    // Whether a failed read says how far it came, as the system does, nothing, or
    // more than is true.
    enum class Says { kHowFar, kNothing, kTooMuch };

    explicit FailingReader(Says says = Says::kHowFar) : _says(says) {}

    // Reads that touch the range fail; the range is of whole sectors.
    void MakeBad(uint64_t begin, uint64_t end) { _bad.push_back({begin, end - begin}); }
    // The next reads that touch this place fail, and then no more.
    void FailAt(uint64_t place, int times);
    // Reads that touch the range take this long.
    void MakeSlow(const ByteRange &range, int milliseconds)
    {
        _slow.push_back({range, milliseconds});
    }
    // From now on everything fails with this error.
    void Go(int error) { _error = error; }

    static char ByteAt(uint64_t place);

    Outcome ReadOnce(uint64_t offset, char *buffer, size_t count) const override;

    bool IsThere() const override
    {
        ++_questions;
        return true;
    }

    int Reads() const { return _reads; }
    // How often it was asked whether it is still there.
    int Questions() const { return _questions; }
    int FailedReads() const { return _failedReads; }
    int SlowReads() const { return _slowReads; }
    // Whether a read has touched the range.
    bool HasRead(const ByteRange &range) const;
    // The most often that a bad sector was tried alone.
    int MostTriesOfASector() const;

private:
    struct Transient {
        uint64_t place;
        int times;
    };

    struct Slow {
        ByteRange range;
        int milliseconds;
    };

    void Linger(const ByteRange &read) const;
    uint64_t FirstBad(uint64_t offset, uint64_t end) const VX_REQUIRES(_mutex);

    const Says _says;
    ByteRanges _bad;
    std::vector<Slow> _slow;
    int _error = 0;
    mutable Mutex _mutex;
    mutable std::vector<Transient> _transients VX_GUARDED_BY(_mutex);
    mutable std::map<uint64_t, int> _tries VX_GUARDED_BY(_mutex);
    mutable ByteRanges _all VX_GUARDED_BY(_mutex);  // every read
    mutable std::atomic<int> _slowReads{0};
    mutable std::atomic<int> _reads{0};
    mutable std::atomic<int> _questions{0};
    mutable std::atomic<int> _failedReads{0};
};

}  // namespace vx
