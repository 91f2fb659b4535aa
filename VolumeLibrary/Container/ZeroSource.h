// Nothing but zeros. Threads: any number at a time.
#pragma once

#include "ByteSource.h"

namespace vx {

class ZeroSource final : public ByteSource {
public:
    explicit ZeroSource(uint64_t size) : _size(size) {}

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const uint64_t _size;
};

}  // namespace vx
