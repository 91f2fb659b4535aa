// A disk in memory that fails on request, and counts its reads. Threads: any number at a time.
#pragma once

#include "ByteRange.h"
#include "ByteSource.h"
#include "Mutex.h"

#include <atomic>
#include <string>

namespace vx {

class FailingSource final : public ByteSource {
public:
    explicit FailingSource(std::string bytes) : _bytes(std::move(bytes)) {}

    // The next reads that touch the range fail; times: how many of them.
    static constexpr int kAlways = -1;
    void MakeBad(uint64_t begin, uint64_t length, int times = kAlways);
    // From now on every read fails with this errno; 0 ends that.
    void FailWith(int error) { _error = error; }

    const std::string &Bytes() const { return _bytes; }
    int Reads() const { return _reads; }
    int FailedReads() const { return _failedReads; }

    uint64_t Size() const override { return _bytes.size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    struct BadPlace {
        ByteRange range;
        int times;
    };

    // Where the first bad place of the range begins; its end if there is none.
    uint64_t FirstBad(uint64_t begin, uint64_t end) const;

    const std::string _bytes;
    std::atomic<int> _error{0};
    mutable std::atomic<int> _reads{0};
    mutable std::atomic<int> _failedReads{0};
    mutable Mutex _mutex;
    mutable std::vector<BadPlace> _bad VX_GUARDED_BY(_mutex);
};

}  // namespace vx
