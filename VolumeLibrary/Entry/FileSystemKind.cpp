#include "FileSystemKind.h"

#include "FatBoot.h"
#include "Little.h"
#include "NtfsBoot.h"
#include "VolumeOpener.h"

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

// By the copy of a first sector that is damaged or cannot be read.
FileSystemKind ByBackup(const ByteSource &volume)
{
    if (FindNtfsBackupBoot(volume))
        return FileSystemKind::kNtfs;
    const auto backup = FindFatBackupBoot(volume);
    if (!backup)
        return FileSystemKind::kUnknown;
    return backup->IsExfat() ? FileSystemKind::kExfat : FileSystemKind::kFat;
}

}  // namespace

Result<FileSystemKind> ProbeFileSystem(const ByteSource &volume)
{
    uint8_t sector[kSectorBytes];
    if (Error error = volume.ReadAt(0, sector, sizeof sector)) {
        const FileSystemKind kind = ByBackup(volume);
        if (kind != FileSystemKind::kUnknown)
            return kind;
        return error;
    }
    if (bitlocker::VolumeOpener::Recognises(volume))
        return FileSystemKind::kEncrypted;
    if (HasName(sector, "NTFS    "))
        return FileSystemKind::kNtfs;
    if (HasName(sector, "EXFAT   "))
        return FileSystemKind::kExfat;
    if (HasName(sector, "ReFS"))
        return FileSystemKind::kRefs;
    return LooksLikeFat(sector) ? FileSystemKind::kFat : ByBackup(volume);
}

uint64_t FileSystemBytes(const ByteSource &volume, FileSystemKind kind)
{
    if (kind == FileSystemKind::kNtfs)
        return NtfsVolumeBytes(volume);
    FatBoot boot;
    if (kind != FileSystemKind::kFat && kind != FileSystemKind::kExfat)
        return 0;
    return FindFatBoot(volume, &boot) ? 0 : boot.StatedBytes();
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
