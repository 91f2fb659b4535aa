// Opens a disk, a partition or an image as a volume: container, table of partitions, decryption and
// file system, one after the other. The implementation reads from top to bottom in that order.
#pragma once

#include "OpenVolume.h"
#include "UnlockRequest.h"
#include "VolumeChoice.h"

#include <string>

namespace vx {

struct Container;

// device: as VolumeChoice.h reads it. Errors: any Status. May throw std::bad_alloc.
Result<OpenedVolume> OpenDisk(const std::string &device, const UnlockRequest &unlocking,
                              const OpeningOptions &options = {});

// The same for a disk or an image that is open already. choice: its path is not used.
Result<OpenedVolume> OpenDiskContents(const Container &container, const VolumeChoice &choice,
                                      const UnlockRequest &unlocking,
                                      const OpeningOptions &options = {});

}  // namespace vx
