// The usual CRC-32 (reflected 0xEDB88320, start and end inverted).
//
// Crc32().Add(a).Add(b).Value() is the checksum of a followed by b; "123456789" -> cbf43926.
#pragma once

#include "ByteView.h"

namespace vx {

class Crc32 {
public:
    Crc32 &Add(ByteView bytes);
    uint32_t Value() const { return ~_state; }

private:
    uint32_t _state = 0xffffffff;
};

// The checksum of bytes with the four at field counted as zeros. field + 4 <= bytes.size.
uint32_t Crc32WithoutField(ByteView bytes, size_t field);

}  // namespace vx
