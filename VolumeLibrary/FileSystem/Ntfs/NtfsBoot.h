// The boot sector of an NTFS volume, which says where everything else lies, and its copy in the
// last sector of the volume.
//
// Threads: any number at a time. Units: bytes.
// Errors: kDamagedFileSystem.
// Source of the format: Microsoft, "NTFS boot sector" (Windows 2000 Server Resource Kit).
#pragma once

#include "ByteSource.h"
#include "Error.h"
#include "NtfsRuns.h"

#include <optional>

namespace vx {

struct NtfsBoot {
    NtfsGeometry geometry;
    uint64_t bytes = 0;         // of the volume, without its last sector
    uint64_t mftOffset = 0;     // of the table of files
    uint64_t mirrorOffset = 0;  // of the copy of its first records; 0 if there is none
    uint64_t serial = 0;        // Windows shows the lower half
};

// Reads the boot sector at the offset.
Result<NtfsBoot> ReadNtfsBoot(const ByteSource &volume, uint64_t offset);

// Reads the boot sector or, if that cannot be used, its copy.
Result<NtfsBoot> FindNtfsBoot(const ByteSource &volume);

// Where the copy lies: in the last sector of the file system, which may end a little before the
// volume does.
std::optional<uint64_t> FindNtfsBackupBoot(const ByteSource &volume);

// The size of the volume by its boot sector or else by the copy; 0 if neither can be used.
uint64_t NtfsVolumeBytes(const ByteSource &volume);

}  // namespace vx
