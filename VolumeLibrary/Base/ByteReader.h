// Reads little-endian numbers from unchecked bytes.
//
// For fields that follow each other: ByteReader. A read beyond the end gives zeros and makes Good()
// false from then on, so a parser reads all its fields first and asks once.
// For fields at known places: U16At and its like, which give 0 beyond the end.
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

// The number in the first width bytes from at on; 0 if they are not all there.
inline uint64_t NumberAt(ByteView bytes, size_t at, size_t width)
{
    if (at > bytes.size || bytes.size - at < width)
        return 0;
    uint64_t value = 0;
    for (size_t i = width; i > 0; --i)
        value = value << 8 | bytes.data[at + i - 1];
    return value;
}

inline uint8_t U8At(ByteView bytes, size_t at)
{
    return static_cast<uint8_t>(NumberAt(bytes, at, 1));
}

inline uint16_t U16At(ByteView bytes, size_t at)
{
    return static_cast<uint16_t>(NumberAt(bytes, at, 2));
}

inline uint32_t U32At(ByteView bytes, size_t at)
{
    return static_cast<uint32_t>(NumberAt(bytes, at, 4));
}

inline uint64_t U64At(ByteView bytes, size_t at)
{
    return NumberAt(bytes, at, 8);
}

inline bool IsPowerOfTwo(uint64_t value)
{
    return value != 0 && (value & (value - 1)) == 0;
}

}  // namespace vx
