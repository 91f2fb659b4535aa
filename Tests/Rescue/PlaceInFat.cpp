#include "PlaceInFat.h"

namespace vx {
namespace {

uint64_t Number(const std::string &boot, size_t at, size_t bytes)
{
    uint64_t value = 0;
    for (size_t i = bytes; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(boot.at(at + i));
    return value;
}

uint64_t PlaceInExfatTable(const std::string &boot, uint64_t data)
{
    const uint64_t sector = uint64_t{1} << Number(boot, 108, 1);
    const uint64_t cluster = sector << Number(boot, 109, 1);
    const uint64_t table = Number(boot, 80, 4) * sector;
    const uint64_t heap = Number(boot, 88, 4) * sector;
    return table + ((data - heap) / cluster + 2) * 4;
}

}  // namespace

uint64_t PlaceInTable(FatWidth width, const std::string &boot, uint64_t data)
{
    if (width == FatWidth::kExfat)
        return PlaceInExfatTable(boot, data);
    const uint64_t sector = Number(boot, 11, 2);
    const uint64_t cluster = sector * Number(boot, 13, 1);
    const uint64_t table = Number(boot, 14, 2) * sector;
    const bool isWide = width == FatWidth::k32;
    const uint64_t tableBytes = (isWide ? Number(boot, 36, 4) : Number(boot, 22, 2)) * sector;
    const uint64_t root = table + Number(boot, 16, 1) * tableBytes;
    const uint64_t heap = root + Number(boot, 17, 2) * 32;
    return table + ((data - heap) / cluster + 2) * (isWide ? 4 : 2);
}

}  // namespace vx
