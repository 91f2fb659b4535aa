// What a volume holds, as far as its first sector tells.
#pragma once

#include "Bitlocker/ByteSource.h"

namespace vx {

enum class FileSystemKind {
    kUnknown,
    kEncrypted,
    kNtfs,
    kExfat,
    kFat,
    kRefs,  // known by name only
};

// kUnknown also for what cannot be read. Cheap.
FileSystemKind ProbeFileSystem(const bitlocker::ByteSource &volume);

// "NTFS"
const char *FileSystemName(FileSystemKind kind);

}  // namespace vx
