// A byte source over a buffer of its own.
#pragma once

#include "ByteSource.h"

#include <vector>

namespace vx {

class MemoryByteSource : public ByteSource {
public:
    explicit MemoryByteSource(std::vector<uint8_t> bytes) : _bytes(std::move(bytes)) {}

    uint64_t Size() const override { return _bytes.size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::vector<uint8_t> _bytes;
};

}  // namespace vx
