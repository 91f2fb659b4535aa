#include "Entries.h"

#include "ByteWriter.h"

namespace vx::bitlocker::maker {

std::vector<uint8_t> makeEntry(uint16_t type, uint16_t valueType, ByteView data)
{
    ByteWriter entry;
    entry.u16(static_cast<uint16_t>(8 + data.size)).u16(type).u16(valueType).u16(1);
    return entry.bytes(data).result();
}

std::vector<uint8_t> makeKeyEntry(uint16_t keyKind, ByteView key)
{
    return makeEntry(0x0000, 0x0001, ByteWriter().u16(keyKind).u16(0).bytes(key).result());
}

}  // namespace vx::bitlocker::maker
