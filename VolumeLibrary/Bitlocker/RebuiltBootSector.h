// The first sector of an encrypted volume, made again from a copy of its metadata where the sector
// itself is lost: it leads to the metadata and, if need be, to the record of a conversion.
//
// Nothing is lost with it on Windows 7 and later, where the sector of the file system lies
// elsewhere. Windows Vista kept all but two fields of that sector in it: these have to come from
// the backup in the volume.
#pragma once

#include "BootSector.h"
#include "ByteSource.h"
#include "CancelFlag.h"
#include "MetadataBlock.h"
#include "StepProgress.h"

#include <array>

namespace vx::bitlocker {

using RebuiltBootSector = std::array<uint8_t, BootSector::kSize>;

// block: a copy of the metadata of the volume. If a conversion may be running, the volume is
// searched for the record of it; if none is found, the sector says so, as that of a volume whose
// record is damaged. Errors: kCancelled; kSystemError with ENODEV if the disk is gone.
Result<RebuiltBootSector> RebuildBootSector(const ByteSource &volume, const MetadataBlock &block,
                                            const CancelFlag *cancel,
                                            const ProgressReceiver &progress);

// Whether the metadata says that a conversion is running that a record describes.
bool IsConverting(const MetadataBlock &block);

// Whether the sectors of a file system of FAT are relocated, which are far more than those of NTFS.
bool IsToGo(const MetadataBlock &block);

}  // namespace vx::bitlocker
