// A source that is as long as another one needs it to be: zeros beyond its end, cut where it is
// longer. A child sees its parent like this when their disks differ in size.
// Ownership: shares the source. Threads: as the source.
#pragma once

#include "ByteSource.h"

#include <memory>
#include <utility>

namespace vx {

class PaddedSource final : public ByteSource {
public:
    PaddedSource(std::shared_ptr<const ByteSource> source, uint64_t size)
        : _source(std::move(source)), _size(size)
    {
    }

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::shared_ptr<const ByteSource> _source;
    const uint64_t _size;
};

}  // namespace vx
