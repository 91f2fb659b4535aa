// A byte source that fails at a chosen place.
#pragma once

#include "MemoryByteSource.h"

#include <cerrno>

namespace vx::bitlocker {

class FaultySource : public MemoryByteSource {
public:
    FaultySource(std::vector<uint8_t> bytes, uint64_t badOffset)
        : MemoryByteSource(std::move(bytes)), _badOffset(badOffset)
    {
    }

    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (offset <= _badOffset && _badOffset - offset < count)
            return SystemError(EIO, "read");
        return MemoryByteSource::ReadAt(offset, buffer, count);
    }

private:
    const uint64_t _badOffset;
};

}  // namespace vx::bitlocker
