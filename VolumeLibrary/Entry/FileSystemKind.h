// What a volume holds, by its first sector or the backup of it.
#pragma once

#include "ByteSource.h"

namespace vx {

enum class FileSystemKind {
    kUnknown,
    kEncrypted,
    kNtfs,
    kExfat,
    kFat,
    kRefs,        // known by name only
    kUnreadable,  // of a partition: its first sector cannot be read
};

// Errors: of reading the first sector. Never kUnreadable. Reads that sector, and backups if it is
// not enough; isByBackup, which may be null, receives whether one of them said what it is.
Result<FileSystemKind> ProbeFileSystem(const ByteSource &volume, bool *isByBackup = nullptr);

// The size that the file system states, in bytes; 0 if it states none.
uint64_t FileSystemBytes(const ByteSource &volume, FileSystemKind kind);

// "NTFS"
const char *FileSystemName(FileSystemKind kind);

}  // namespace vx
