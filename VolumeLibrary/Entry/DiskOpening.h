// Opens a disk, a partition or an image as a volume: container, table of partitions, decryption and
// file system, one after the other. The implementation reads from top to bottom in that order.
#pragma once

#include "OpenVolume.h"
#include "UnlockKind.h"

#include <string>

namespace vx {

struct Container;

struct UnlockRequest {
    UnlockKind kind = UnlockKind::kNone;
    const char *secret = "";             // UTF-8; ignored for kNone
    const CancelFlag *cancel = nullptr;  // may be null
};

// device: a path; "#" and a number after it choose one of the volumes of a disk, unless something
// has that name. Errors: any Status. May throw std::bad_alloc.
Result<OpenedVolume> OpenDisk(const std::string &device, const UnlockRequest &unlocking,
                              const OpeningOptions &options = {});

// The same for a disk or an image that is open already. number: of the volume that was chosen, from
// 1 on; 0 if none was.
Result<OpenedVolume> OpenDiskContents(const Container &container, size_t number,
                                      const UnlockRequest &unlocking,
                                      const OpeningOptions &options = {});

}  // namespace vx
