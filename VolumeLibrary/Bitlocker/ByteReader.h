// Reads little-endian numbers from bytes that nobody has checked.
//
// A read behind the end gives zeros and makes good() false for ever after, so that a parser
// reads all its fields first and asks once.
#pragma once

#include "ByteView.h"
#include "Guid.h"

namespace vx::bitlocker {

class ByteReader {
public:
    explicit ByteReader(ByteView bytes, size_t position = 0) : _bytes(bytes), _position(position) {}

    bool good() const { return _good; }
    size_t left() const { return _position < _bytes.size ? _bytes.size - _position : 0; }

    uint8_t u8() { return static_cast<uint8_t>(number(1)); }
    uint16_t u16() { return static_cast<uint16_t>(number(2)); }
    uint32_t u32() { return static_cast<uint32_t>(number(4)); }
    uint64_t u64() { return number(8); }
    Guid guid();
    // The next count bytes, or no bytes at all.
    ByteView bytes(size_t count);
    ByteView rest() { return bytes(left()); }
    void skip(size_t count) { bytes(count); }

private:
    uint64_t number(size_t width);

    ByteView _bytes;
    size_t _position;
    bool _good = true;
};

}  // namespace vx::bitlocker
