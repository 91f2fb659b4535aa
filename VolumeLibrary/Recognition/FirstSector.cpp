#include "FirstSector.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"

#include <cstring>

namespace vx {
namespace {

constexpr size_t kNameAt = 3;
constexpr size_t kSectorSizeAt = 11;
constexpr size_t kExfatSectorShiftAt = 108;

}  // namespace

bool HasName(ByteView sector, std::string_view name)
{
    return sector.size >= kFirstSectorBytes &&
           std::memcmp(sector.data + kNameAt, name.data(), name.size()) == 0;
}

bool EndsAsBootSector(ByteView sector)
{
    return U16At(sector, 510) == 0xAA55;
}

bool IsSectorSize(uint32_t bytes)
{
    return IsPowerOfTwo(bytes) && bytes >= 512 && bytes <= 4096;
}

uint32_t StatedSectorSize(ByteView sector)
{
    if (sector.size < kFirstSectorBytes)
        return 0;
    const uint8_t shift = U8At(sector, kExfatSectorShiftAt);
    const bool isExfat = HasName(sector, kExfatName);
    const uint32_t stated = isExfat ? (shift < 16 ? 1U << shift : 0) : U16At(sector, kSectorSizeAt);
    return IsSectorSize(stated) ? stated : 0;
}

bool LooksLikeFat(ByteView sector)
{
    const uint8_t jump = U8At(sector, 0);
    const uint8_t clusterSectors = U8At(sector, 13);
    const uint16_t reservedSectors = U16At(sector, 14);
    const uint8_t tables = U8At(sector, 16);
    const uint8_t media = U8At(sector, 21);
    return (jump == 0xEB || jump == 0xE9) && EndsAsBootSector(sector) &&
           IsSectorSize(U16At(sector, kSectorSizeAt)) && IsPowerOfTwo(clusterSectors) &&
           reservedSectors > 0 && (tables == 1 || tables == 2) && (media == 0xF0 || media >= 0xF8);
}

}  // namespace vx
