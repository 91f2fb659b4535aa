#include "FileSystemKind.h"

#include "Bitlocker/VolumeOpener.h"
#include "Little.h"
#include "NtfsBoot.h"

#include <cstring>

namespace vx {
namespace {

constexpr size_t kSectorBytes = 512;

bool HasName(const uint8_t *sector, const char *name)
{
    return std::memcmp(sector + 3, name, std::strlen(name)) == 0;
}

// FAT has no name that could be relied upon, so its numbers must make sense. The boot code of a
// disk with partitions does not pass for them.
bool LooksLikeFat(const uint8_t *sector)
{
    const unsigned sectorSize = Little16(sector + 11);
    const unsigned reserved = Little16(sector + 14);
    const bool jumps = sector[0] == 0xEB || sector[0] == 0xE9;
    const bool ends = sector[510] == 0x55 && sector[511] == 0xAA;
    return jumps && ends && sectorSize >= 512 && sectorSize <= 4096 && IsPowerOfTwo(sectorSize) &&
           IsPowerOfTwo(sector[13]) && reserved > 0 && sector[16] >= 1 && sector[16] <= 2 &&
           (sector[21] == 0xF0 || sector[21] >= 0xF8);
}

}  // namespace

bitlocker::Result<FileSystemKind> ProbeFileSystem(const bitlocker::ByteSource &volume)
{
    uint8_t sector[kSectorBytes];
    if (bitlocker::Error error = volume.readAt(0, sector, sizeof sector)) {
        if (FindNtfsBackupBoot(volume))
            return FileSystemKind::kNtfs;
        return error;
    }
    if (bitlocker::VolumeOpener::recognises(volume))
        return FileSystemKind::kEncrypted;
    if (HasName(sector, "NTFS    "))
        return FileSystemKind::kNtfs;
    if (HasName(sector, "EXFAT   "))
        return FileSystemKind::kExfat;
    if (HasName(sector, "ReFS"))
        return FileSystemKind::kRefs;
    if (LooksLikeFat(sector))
        return FileSystemKind::kFat;
    return FindNtfsBackupBoot(volume) ? FileSystemKind::kNtfs : FileSystemKind::kUnknown;
}

uint64_t FileSystemBytes(const bitlocker::ByteSource &volume, FileSystemKind kind)
{
    if (kind == FileSystemKind::kNtfs)
        return NtfsVolumeBytes(volume);
    uint8_t sector[kSectorBytes];
    uint64_t bytes = 0;
    if (volume.readAt(0, sector, sizeof sector))
        return 0;
    const uint64_t sectorBytes = Little16(sector + 11);
    const uint64_t sectors =
        Little16(sector + 19) != 0 ? Little16(sector + 19) : Little32(sector + 32);
    if (kind == FileSystemKind::kFat)
        return sectors * sectorBytes;
    const bool isExfat = kind == FileSystemKind::kExfat && sector[108] <= 12;
    if (isExfat &&
        !__builtin_mul_overflow(Little64(sector + 72), uint64_t{1} << sector[108], &bytes))
        return bytes;
    return 0;
}

const char *FileSystemName(FileSystemKind kind)
{
    switch (kind) {
    case FileSystemKind::kUnknown:
        break;
    case FileSystemKind::kEncrypted:
        return "encrypted";
    case FileSystemKind::kNtfs:
        return "NTFS";
    case FileSystemKind::kExfat:
        return "exFAT";
    case FileSystemKind::kFat:
        return "FAT";
    case FileSystemKind::kRefs:
        return "ReFS";
    case FileSystemKind::kUnreadable:
        return "unreadable";
    }
    return "unknown";
}

}  // namespace vx
