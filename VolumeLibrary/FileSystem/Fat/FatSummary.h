// What VolumeReport.h reports of a FAT or exFAT file system as a whole. What cannot be read stays
// unknown.
//
// FAT says in the second entry of its table, and Windows also in the boot sector, whether it was
// taken off in order and met no bad sector; FAT12 has room for it only in the boot sector, where
// nothing says that it is used. exFAT has flags in its boot sector, which a backup does not keep up
// to date. Threads: any number at a time. Format: as FatGeometry.h.
#pragma once

#include "FatChain.h"

namespace vx {

// tables: of the volume, for small reads.
void SummariseFat(const ByteSource &volume, const ByteSource &tables, const FatGeometry &geometry,
                  const FatChain &chain, VolumeFileSystemReport *report);

}  // namespace vx
