// What the record of an NTFS volume says of a file: times, attributes and size, and whether it
// leads somewhere else.
#pragma once

#include "IVolume.h"
#include "NtfsIndexBlock.h"
#include "NtfsStream.h"

namespace vx {

// Every field but the name, from the file's own record.
void DescribeNtfsFile(const NtfsMft &mft, const bitlocker::ByteSource &volume,
                      const NtfsRecord &file, uint64_t number, VolumeFindData *record);
// The same as far as the index of its folder knows it.
void DescribeNtfsName(const NtfsIndexName &name, VolumeFindData *record);

// Whether what the file or folder holds lies in it, and not elsewhere: a link, a mount point, a
// file that Windows keeps compressed or merged with others by means of its own, or one that was
// left in the cloud.
bool HoldsItsOwnData(const NtfsRecord &file);

}  // namespace vx
