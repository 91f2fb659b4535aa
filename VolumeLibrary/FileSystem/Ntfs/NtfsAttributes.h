// What the record of an NTFS volume says of a file: times, attributes, size and the tag of its
// reparse point. The attributes are those that are stored.
#pragma once

#include "IVolume.h"
#include "NtfsIndexBlock.h"
#include "NtfsStream.h"

namespace vx {

// Every field but the name, from the file's own record.
void DescribeNtfsFile(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, VolumeFindData *record);
// The same as far as the index of its folder knows it.
void DescribeNtfsName(const NtfsIndexName &name, VolumeFindData *record);

}  // namespace vx
