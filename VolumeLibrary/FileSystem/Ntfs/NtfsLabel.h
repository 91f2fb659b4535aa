// The label of an NTFS volume, by its file $Volume.
#pragma once

#include "ByteSource.h"
#include "NtfsRecord.h"

#include <string>

namespace vx {

constexpr uint64_t kNtfsVolumeFile = 3;  // the number of its record

// Of a volume that is not open, in the bytes of Wtf8.h; empty if there is none or it cannot be
// read. Reads the boot sector, or its copy, and one record.
std::string NtfsLabel(const ByteSource &volume);
// By the record of $Volume.
std::string NtfsLabelIn(const NtfsRecord &record);

}  // namespace vx
