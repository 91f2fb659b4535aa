// Reads little-endian numbers from bytes that nobody has checked.
//
// A read beyond the end gives zeros and makes Good() false from then on, so that a parser
// reads all its fields first and asks once.
#pragma once

#include "ByteView.h"
#include "Guid.h"

namespace vx {

class ByteReader {
public:
    explicit ByteReader(ByteView bytes, size_t position = 0) : _bytes(bytes), _position(position) {}

    bool Good() const { return _good; }
    size_t Left() const { return _position < _bytes.size ? _bytes.size - _position : 0; }

    uint8_t U8() { return static_cast<uint8_t>(Number(1)); }
    uint16_t U16() { return static_cast<uint16_t>(Number(2)); }
    uint32_t U32() { return static_cast<uint32_t>(Number(4)); }
    uint64_t U64() { return Number(8); }
    Guid TakeGuid();
    // The next count bytes, or no bytes at all.
    ByteView Bytes(size_t count);
    ByteView Rest() { return Bytes(Left()); }
    void Skip(size_t count) { Bytes(count); }

private:
    uint64_t Number(size_t width);

    ByteView _bytes;
    size_t _position;
    bool _good = true;
};

}  // namespace vx
