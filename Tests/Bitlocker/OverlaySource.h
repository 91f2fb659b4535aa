// Another source with some bytes changed or its end cut off; the other stays as it is.
#pragma once

#include "ByteSource.h"

#include <map>
#include <memory>
#include <vector>

namespace vx::bitlocker {

class OverlaySource : public ByteSource {
public:
    explicit OverlaySource(std::shared_ptr<const ByteSource> below) : _below(std::move(below)) {}

    void Put(uint64_t offset, std::vector<uint8_t> bytes) { _changed[offset] = std::move(bytes); }
    void Cut(uint64_t size) { _size = size; }

    uint64_t Size() const override { return std::min(_size, _below->Size()); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    const std::shared_ptr<const ByteSource> _below;
    std::map<uint64_t, std::vector<uint8_t>> _changed;
    uint64_t _size = UINT64_MAX;
};

}  // namespace vx::bitlocker
