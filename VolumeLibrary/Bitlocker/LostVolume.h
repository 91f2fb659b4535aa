// An encrypted volume that is found by its metadata: where its first sector, or whatever says where
// it begins, is lost.
//
// A copy of the metadata names the places of all three copies in the volume, so it says where the
// volume begins, but for which of the three it is itself: that shows in what lies at the places of
// the others. Where nothing is left of those, up to three beginnings are possible.
// Threads: one. Units: bytes. Nothing that is read is trusted; how many copies are checked is
// limited.
#pragma once

#include "ByteSource.h"
#include "CancelFlag.h"
#include "MetadataBlock.h"
#include "StepProgress.h"

#include <memory>
#include <optional>
#include <vector>

namespace vx::bitlocker {

struct LostVolume {
    uint64_t begin = 0;          // on the disk
    MetadataBlock block;         // a sound copy of its metadata
    size_t soundCopies = 0;      // of three
    size_t markedCopies = 0;     // those and damaged ones that name the same places
    bool hasBootSector = false;  // its first sector is there and leads to this metadata
};

// Which volumes a copy of the metadata at this byte may belong to, the likeliest first. Empty if no
// copy that can be used is there, or at the places that a damaged one names.
std::vector<LostVolume> FindVolumesWithCopyAt(const ByteSource &disk, uint64_t offset);

// The volume that begins at this byte, whatever its first sector says. Searches the front of it, as
// far as MetadataLocator does. Nothing if there is no copy that can be used. Errors: kCancelled;
// kSystemError with ENODEV if the disk is gone.
Result<std::optional<LostVolume>> FindVolumeAt(const ByteSource &disk, uint64_t begin,
                                               const CancelFlag *cancel,
                                               const ProgressReceiver &progress);

// The size of the volume as its metadata states it; 0 if it does not. What ends before a copy of
// the metadata is only how far the encryption has come.
uint64_t StatedVolumeBytes(const MetadataBlock &block);

}  // namespace vx::bitlocker
