// Whether the journal of an NTFS volume says that the volume was taken off in order: that nothing
// in it waits to be applied.
//
// The journal begins with two restart pages, of which the newer one counts. Threads: any.
// Source of the format: the documentation of the Linux-NTFS project, on the log file.
#pragma once

#include "NtfsStream.h"
#include "VolumeReport.h"

namespace vx {

// kClean, kInUse or, if it cannot be read, kUnknown.
VolumeFileSystemState StateOfNtfsJournal(const ByteSource &volume, const NtfsStream &journal);

}  // namespace vx
