// Counts the bytes that are read from a source. Threads: any number at a time.
#pragma once

#include "ByteSource.h"

#include <atomic>
#include <memory>
#include <utility>

namespace vx {

class CountingSource final : public ByteSource {
public:
    explicit CountingSource(std::shared_ptr<const ByteSource> source) : _source(std::move(source))
    {
    }

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        _bytes += count;
        return _source->ReadAt(offset, buffer, count);
    }

    // Since the last call.
    uint64_t TakeBytes() const { return _bytes.exchange(0); }

private:
    const std::shared_ptr<const ByteSource> _source;
    mutable std::atomic<uint64_t> _bytes{0};
};

}  // namespace vx
