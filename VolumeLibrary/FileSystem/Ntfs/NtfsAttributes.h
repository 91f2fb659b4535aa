// What an NTFS volume says about a file: times, attributes as they are stored, size and the tag of
// its reparse point.
#pragma once

#include "IVolume.h"
#include "NtfsIndexBlock.h"
#include "NtfsStream.h"

namespace vx {

// Every field but the name, from the file's own record.
void DescribeNtfsFile(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, VolumeFindData *record);
// The same from the index of its folder, which may be out of date.
void DescribeNtfsName(const NtfsIndexName &name, VolumeFindData *record);

}  // namespace vx
