// Owns key bytes in pages of their own, which are wiped when the owner goes and kept out of the
// swap space and of core dumps if the platform allows it. Moved, not copied. Threads: not shared
// while one writes.
#pragma once

#include "ByteView.h"

namespace vx::bitlocker {

class KeyMaterial {
public:
    KeyMaterial() = default;
    // size bytes of zeros. Throws std::bad_alloc like any container.
    explicit KeyMaterial(size_t size);
    explicit KeyMaterial(ByteView bytes);
    ~KeyMaterial() { Wipe(); }
    KeyMaterial(KeyMaterial &&other) noexcept;
    KeyMaterial &operator=(KeyMaterial &&other) noexcept;
    KeyMaterial(const KeyMaterial &) = delete;
    KeyMaterial &operator=(const KeyMaterial &) = delete;

    uint8_t *Data() { return _data; }
    const uint8_t *Data() const { return _data; }
    size_t Size() const { return _size; }
    bool Empty() const { return _size == 0; }
    ByteView View() const { return {_data, _size}; }
    // Wipes and releases the bytes now.
    void Wipe();

private:
    uint8_t *_data = nullptr;
    size_t _size = 0;
};

}  // namespace vx::bitlocker
