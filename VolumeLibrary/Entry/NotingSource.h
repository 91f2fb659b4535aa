// Passes reads on and keeps the last failure, so that a failed read is not mistaken for damage.
//
// Only ReadAt counts, since its caller needs all bytes; a caller of Salvage does without some.
// Ownership: shares the source. Threads: any number at a time.
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
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override
    {
        _source->Locate(offset, length, visit);
    }
    void NoteTable(uint64_t offset, size_t count) const override
    {
        _source->NoteTable(offset, count);
    }

    // No error if there was no failure.
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
