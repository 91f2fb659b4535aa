// What VolumeReport.h reports of an NTFS file system as a whole. What cannot be read stays unknown.
// Threads: any number at a time.
#pragma once

#include "NtfsMft.h"

namespace vx {

// tables: of the volume, for small reads.
void SummariseNtfs(const ByteSource &volume, const ByteSource &tables, const NtfsMft &mft,
                   VolumeFileSystemReport *report);

}  // namespace vx
