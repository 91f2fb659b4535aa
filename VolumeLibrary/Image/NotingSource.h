// Passes a byte source on and keeps the last failure of a read, for those who would take what
// cannot be read for damage.
//
// A failure is forgotten when a part of what it concerned is read after all: who reads ahead does
// so. Ownership: shares the source. Threads: any number at a time.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "ThreadSafety.h"

#include <atomic>
#include <memory>
#include <utility>

namespace vx {

class NotingSource final : public bitlocker::ByteSource {
public:
    explicit NotingSource(std::shared_ptr<const bitlocker::ByteSource> source)
        : _source(std::move(source))
    {
    }

    uint64_t size() const override { return _source->size(); }
    bitlocker::Error readAt(uint64_t offset, void *buffer, size_t count) const override;

    // None if there was no failure.
    bitlocker::Error Failure() const;

private:
    void Note(const bitlocker::Error &error, uint64_t offset, size_t count) const;
    void Forget(uint64_t offset, size_t count) const;

    const std::shared_ptr<const bitlocker::ByteSource> _source;
    mutable std::atomic<bool> _hasFailed{false};
    mutable Mutex _mutex;
    mutable bitlocker::Error _failure VX_GUARDED_BY(_mutex);
    mutable uint64_t _begin VX_GUARDED_BY(_mutex) = 0;
    mutable uint64_t _end VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
