// Working memory at a chosen distance from a page boundary.
//
// Processors compare the low twelve bits of addresses first: a loop that reads one buffer and
// writes another at nearly the same distance from a page waits for unrelated stores, at half the
// speed. Buffers that are used together are given distances far apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vx::bitlocker {

class PlacedBuffer {
public:
    // distance: in bytes, a multiple of 64 less than 4096. Throws std::bad_alloc.
    PlacedBuffer(size_t size, size_t distance)
        : _memory(new uint8_t[size + distance + kPage]), _data(Placed(_memory.get()) + distance)
    {
    }

    uint8_t *Data() { return _data; }

private:
    static constexpr size_t kPage = 4096;

    static uint8_t *Placed(uint8_t *memory)
    {
        return memory + (kPage - reinterpret_cast<uintptr_t>(memory) % kPage);
    }

    std::unique_ptr<uint8_t[]> _memory;
    uint8_t *_data;
};

}  // namespace vx::bitlocker
