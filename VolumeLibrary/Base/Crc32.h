// CRC-32, reflected, start and end inverted: the usual one (0xEDB88320) and Castagnoli's, CRC-32C
// (0x82F63B78).
//
// Crc32().Add(a).Add(b).Value() is the checksum of a followed by b; "123456789" -> cbf43926, and
// e3069283 with Castagnoli's.
#pragma once

#include "ByteView.h"

namespace vx {

class Crc32 {
public:
    enum class Kind { kUsual, kCastagnoli };

    explicit Crc32(Kind kind = Kind::kUsual) : _kind(kind) {}

    Crc32 &Add(ByteView bytes);
    uint32_t Value() const { return ~_state; }

private:
    Kind _kind;
    uint32_t _state = 0xffffffff;
};

// The checksum of bytes with the four at field counted as zeros. field + 4 <= bytes.size.
uint32_t Crc32WithoutField(ByteView bytes, size_t field, Crc32::Kind kind = Crc32::Kind::kUsual);

}  // namespace vx
