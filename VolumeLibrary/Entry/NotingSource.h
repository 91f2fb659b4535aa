// Passes a byte source on and keeps the last failure of a read, for those who would take what
// cannot be read for damage.
//
// Only what is needed whole counts, which readAt reads; who takes what can be had says nothing by
// it. Ownership: shares the source. Threads: any number at a time.
#pragma once

#include "ByteSource.h"
#include "Mutex.h"

#include <memory>
#include <utility>

namespace vx {

class NotingSource final : public ByteSource {
public:
    explicit NotingSource(std::shared_ptr<const ByteSource> source) : _source(std::move(source)) {}

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

    // None if there was no failure.
    Error Failure() const;

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    const std::shared_ptr<const ByteSource> _source;
    mutable Mutex _mutex;
    mutable Error _failure VX_GUARDED_BY(_mutex);
};

}  // namespace vx
