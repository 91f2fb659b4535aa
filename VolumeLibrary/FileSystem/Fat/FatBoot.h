// The boot sector by which a FAT or exFAT volume is read: its first sector or, where that is
// damaged or cannot be read, the backup that FAT32 and exFAT keep. FAT12 and FAT16 have none.
//
// FAT32 has no checksum: its boot sector is used if the table that it describes is large enough and
// begins as every table does. If the same is true of a backup that says something else, the one
// whose table is not larger than needed is used. exFAT keeps a checksum over its eleven boot
// sectors. Threads: any number at a time. Format: Microsoft, "FAT32 File System Specification" and
// "exFAT file system specification".
#pragma once

#include "ByteSource.h"
#include "Error.h"
#include "FatGeometry.h"

#include <array>
#include <optional>
#include <string>

namespace vx {

struct FatBoot {
    std::array<uint8_t, 512> sector = {};
    FatGeometry geometry;
    bool isBackup = false;
    std::string note;  // what is wrong with the boot sector; empty if nothing is

    bool IsExfat() const { return geometry.kind == FatGeometry::Kind::kExfat; }
    // The size of the volume as the sector has it; 0 if that is more than any volume has.
    uint64_t StatedBytes() const;
};

// Errors: kDamagedFileSystem if neither the first sector nor a backup can be used.
Result<FatBoot> FindFatBoot(const ByteSource &volume);

// The backup in a volume whose first sector does not say what it is. None on a disk with
// partitions, where it is left from an earlier use, and not for an encrypted volume.
std::optional<FatBoot> FindFatBackupBoot(const ByteSource &volume);

}  // namespace vx
