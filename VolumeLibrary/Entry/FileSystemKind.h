// What a volume holds, as far as its first sector tells, or the copy of it at the end.
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

// Errors: as reading the first sector; kUnreadable is none of the answers. Cheap.
Result<FileSystemKind> ProbeFileSystem(const ByteSource &volume);

// How many bytes the file system in the volume says that it is long; 0 if it says nothing.
uint64_t FileSystemBytes(const ByteSource &volume, FileSystemKind kind);

// "NTFS"
const char *FileSystemName(FileSystemKind kind);

}  // namespace vx
