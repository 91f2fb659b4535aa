#include "Entries.h"

#include "ByteWriter.h"

namespace vx::bitlocker::maker {

std::vector<uint8_t> MakeEntry(uint16_t type, uint16_t valueType, ByteView data)
{
    ByteWriter entry;
    entry.U16(static_cast<uint16_t>(8 + data.size)).U16(type).U16(valueType).U16(1);
    return entry.Bytes(data).Result();
}

std::vector<uint8_t> MakeKeyEntry(uint16_t keyKind, ByteView key)
{
    return MakeEntry(0x0000, 0x0001, ByteWriter().U16(keyKind).U16(0).Bytes(key).Result());
}

}  // namespace vx::bitlocker::maker
