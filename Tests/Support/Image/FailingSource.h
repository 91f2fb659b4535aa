// A disk in memory that fails where and as it is told to, and counts what is asked of it.
#pragma once

#include "ByteRange.h"
#include "ByteSource.h"

#include <atomic>
#include <mutex>
#include <string>

namespace vx {

class FailingSource final : public ByteSource {
public:
    explicit FailingSource(std::string bytes) : _bytes(std::move(bytes)) {}

    // The next reads that touch the range fail; times: how many, or all.
    static constexpr int kAlways = -1;
    void MakeBad(uint64_t begin, uint64_t length, int times = kAlways);
    // From now on every read fails with this error of the system; 0: no more.
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
    mutable std::mutex _mutex;
    mutable std::vector<BadPlace> _bad;
};

}  // namespace vx
