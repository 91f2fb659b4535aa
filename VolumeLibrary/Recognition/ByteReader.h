// Reads numbers from unchecked bytes, little-endian unless the name says Big.
//
// U8At and the others pick one field at any offset; what does not lie inside is 0. ByteReader reads
// fields in sequence. A read beyond the end gives zeros and makes Good() false from then on, so
// that a parser reads all its fields first and checks Good() once.
#pragma once

#include "ByteView.h"
#include "Guid.h"

#include <algorithm>
#include <string_view>

namespace vx {

template <typename Unsigned>
Unsigned NumberAt(ByteView bytes, size_t offset)
{
    if (!bytes.Holds(offset, sizeof(Unsigned)))
        return 0;
    uint64_t value = 0;
    for (size_t i = 0; i < sizeof(Unsigned); ++i)
        value |= uint64_t{bytes.data[offset + i]} << 8 * i;
    return static_cast<Unsigned>(value);
}

inline uint8_t U8At(ByteView bytes, size_t offset)
{
    return NumberAt<uint8_t>(bytes, offset);
}

inline uint16_t U16At(ByteView bytes, size_t offset)
{
    return NumberAt<uint16_t>(bytes, offset);
}

inline uint32_t U32At(ByteView bytes, size_t offset)
{
    return NumberAt<uint32_t>(bytes, offset);
}

inline uint64_t U64At(ByteView bytes, size_t offset)
{
    return NumberAt<uint64_t>(bytes, offset);
}

// Whether these characters are there.
inline bool HasTextAt(ByteView bytes, size_t offset, std::string_view text)
{
    const auto same = [](char character, uint8_t byte) {
        return static_cast<uint8_t>(character) == byte;
    };
    return bytes.Holds(offset, text.size()) &&
           std::equal(text.begin(), text.end(), bytes.data + offset, same);
}

class ByteReader {
public:
    explicit ByteReader(ByteView bytes, size_t position = 0)
        : _bytes(bytes), _position(position < bytes.size ? position : bytes.size)
    {
    }

    bool Good() const { return _good; }
    size_t Left() const { return _bytes.size - _position; }  // 0 if not Good

    uint8_t U8() { return U8At(Bytes(1), 0); }
    uint16_t U16() { return U16At(Bytes(2), 0); }
    uint32_t U32() { return U32At(Bytes(4), 0); }
    uint64_t U64() { return U64At(Bytes(8), 0); }
    uint32_t BigU32() { return static_cast<uint32_t>(BigNumber(4)); }
    uint64_t BigU64() { return BigNumber(8); }
    Guid TakeGuid();
    // The next count bytes, or no bytes at all.
    ByteView Bytes(size_t count)
    {
        if (count > Left()) {
            _position = _bytes.size;  // so that nothing more is read
            _good = false;
            return {};
        }
        const ByteView found(_bytes.data + _position, count);
        _position += count;
        return found;
    }
    // Whether the next bytes are these.
    bool TakeMark(std::string_view mark);
    ByteView Rest() { return Bytes(Left()); }
    void Skip(size_t count) { Bytes(count); }

private:
    uint64_t BigNumber(size_t width);

    ByteView _bytes;
    size_t _position;
    bool _good = true;
};

}  // namespace vx
