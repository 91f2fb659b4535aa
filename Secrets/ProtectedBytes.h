// Bytes of a secret in pages of their own, which are locked in memory and left out of core dumps if
// the system and the limits of the process allow it, and overwritten when the owner goes.
//
// Threads: one at a time, like any other value. Moved, not copied. Units: bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vx {

class ProtectedBytes {
public:
    ProtectedBytes() = default;
    // Zeros. Throws std::bad_alloc.
    explicit ProtectedBytes(size_t size);
    ProtectedBytes(const void *bytes, size_t size);
    ProtectedBytes(const ProtectedBytes &) = delete;
    ProtectedBytes &operator=(const ProtectedBytes &) = delete;
    ProtectedBytes(ProtectedBytes &&other) noexcept;
    ProtectedBytes &operator=(ProtectedBytes &&other) noexcept;
    ~ProtectedBytes() { Wipe(); }

    uint8_t *Data() { return _data; }
    const uint8_t *Data() const { return _data; }
    // Of a text that was stored with the zero at its end.
    const char *Text() const { return reinterpret_cast<const char *>(_data); }
    size_t Size() const { return _size; }
    // Overwrites and releases them now.
    void Wipe();

private:
    uint8_t *_data = nullptr;
    size_t _size = 0;
};

}  // namespace vx
