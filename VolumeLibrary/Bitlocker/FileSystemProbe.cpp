#include "FileSystemProbe.h"

#include "BootSector.h"
#include "ByteReader.h"

#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr size_t kNameAt = 3;
constexpr size_t kExfatShiftAt = 108;

bool HasName(ByteView sector, const char *name)
{
    return std::memcmp(sector.data + kNameAt, name, std::strlen(name)) == 0;
}

}  // namespace

bool LooksLikeFileSystem(ByteView sector)
{
    if (sector.size < BootSector::kSize)
        return false;
    for (const char *name : {"NTFS    ", "EXFAT   ", "MSDOS5.0", "ReFS"})
        if (HasName(sector, name))
            return true;
    return sector.data[510] == 0x55 && sector.data[511] == 0xaa;
}

uint32_t StatedSectorSize(ByteView sector)
{
    if (sector.size < BootSector::kSize)
        return 0;
    const uint8_t shift = sector.data[kExfatShiftAt];
    const uint32_t stated =
        HasName(sector, "EXFAT   ") ? (shift < 16 ? 1U << shift : 0) : ByteReader(sector, 11).U16();
    return IsSectorSize(stated) ? stated : 0;
}

}  // namespace vx::bitlocker
