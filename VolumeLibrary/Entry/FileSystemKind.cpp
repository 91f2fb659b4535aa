#include "FileSystemKind.h"

#include "FatBoot.h"
#include "FirstSector.h"
#include "NtfsBoot.h"
#include "VolumeOpener.h"

#include <array>

namespace vx {
namespace {

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

FileSystemKind ByFirstSector(ByteView sector)
{
    if (bitlocker::VolumeOpener::Recognises(sector))
        return FileSystemKind::kEncrypted;
    if (HasName(sector, kNtfsName))
        return FileSystemKind::kNtfs;
    if (HasName(sector, kExfatName))
        return FileSystemKind::kExfat;
    if (HasName(sector, kRefsName))
        return FileSystemKind::kRefs;
    return LooksLikeFat(sector) ? FileSystemKind::kFat : FileSystemKind::kUnknown;
}

}  // namespace

Result<FileSystemKind> ProbeFileSystem(const ByteSource &volume, bool *isByBackup)
{
    std::array<uint8_t, kFirstSectorBytes> sector;
    const Error error = volume.ReadAt(0, sector.data(), sector.size());
    const FileSystemKind first = error ? FileSystemKind::kUnknown : ByFirstSector(sector);
    const bool needsBackup = first == FileSystemKind::kUnknown;
    const FileSystemKind kind = needsBackup ? ByBackup(volume) : first;
    if (error && kind == FileSystemKind::kUnknown)
        return error;
    if (isByBackup != nullptr)
        *isByBackup = needsBackup && kind != FileSystemKind::kUnknown;
    return kind;
}

uint64_t FileSystemBytes(const ByteSource &volume, FileSystemKind kind)
{
    if (kind == FileSystemKind::kNtfs)
        return NtfsVolumeBytes(volume);
    if (kind != FileSystemKind::kFat && kind != FileSystemKind::kExfat)
        return 0;
    const auto boot = FindFatBoot(volume);
    return boot ? boot->StatedBytes() : 0;
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
