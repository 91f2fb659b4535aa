#include "BitlockerMark.h"

#include "ByteReader.h"

#include <cstring>

namespace vx {

bool HasBitlockerToGoMark(ByteView sector)
{
    constexpr char kStart[] = "\xEB\x58\x90MSWIN4.1";
    constexpr size_t kIdentifierAt = 424;
    if (sector.size < 512 || std::memcmp(sector.data, kStart, sizeof kStart - 1) != 0)
        return false;
    const Guid identifier = ByteReader(sector, kIdentifierAt).TakeGuid();
    return identifier == kOrdinaryVolume || identifier == kConvertingVolume;
}

}  // namespace vx
