// What the first sector of a volume says about its file system.
//
// sector: 512 bytes at least; of a shorter one nothing is true.
// Formats: Microsoft, "NTFS boot sector" (Windows 2000 Server Resource Kit), "FAT32 File System
// Specification" and "exFAT file system specification".
#pragma once

#include "ByteView.h"

#include <string_view>

namespace vx {

constexpr size_t kFirstSectorBytes = 512;

// The names that file systems write at offset 3.
constexpr std::string_view kNtfsName = "NTFS    ";
constexpr std::string_view kExfatName = "EXFAT   ";
constexpr std::string_view kRefsName = "ReFS";
constexpr std::string_view kFatName = "MSDOS5.0";  // Windows writes it; others write their own

bool HasName(ByteView sector, std::string_view name);

// 55 AA at offset 510.
bool EndsAsBootSector(ByteView sector);

// 512, 1024, 2048 or 4096.
bool IsSectorSize(uint32_t bytes);
// The bytes per sector that the sector states; 0 if that is no size of a sector.
uint32_t StatedSectorSize(ByteView sector);

// FAT has no reliable name, so its numbers must be plausible. The boot code of a partitioned disk
// does not pass.
bool LooksLikeFat(ByteView sector);

}  // namespace vx
