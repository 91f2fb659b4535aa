// A range of a byte source, such as a partition of a disk. What lies beyond the end of
// the source reads as truncated.
// Ownership: shares the source. Threads: as the source.
#pragma once

#include "ByteSource.h"

#include <memory>
#include <utility>

namespace vx {

class PartOfSource final : public ByteSource {
public:
    // offset + size must not overflow.
    PartOfSource(std::shared_ptr<const ByteSource> source, uint64_t offset, uint64_t size)
        : _source(std::move(source)), _offset(offset), _size(size)
    {
    }

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override;

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    const std::shared_ptr<const ByteSource> _source;
    const uint64_t _offset;
    const uint64_t _size;
};

}  // namespace vx
