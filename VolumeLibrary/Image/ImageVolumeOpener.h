// Opens a disk, a partition or an image as a volume: container, partition table, decryption and
// file system, one after the other.
#pragma once

#include "Container.h"
#include "OpenError.h"
#include "OwnedVolume.h"
#include "UnlockKind.h"

#include <memory>
#include <string>

namespace vx {

struct ImageRequest {
    // A path; "#" and a number after it choose one of the volumes of a disk, unless something
    // has that name.
    std::string device;
    UnlockKind unlock;
    const char *secret;
};

// volume receives the opened volume when there is no error; the detail is then what was noticed,
// a line each. May throw std::bad_alloc.
OpenError OpenImageVolume(const ImageRequest &request, std::unique_ptr<OwnedVolume> *volume);

// The same for a disk or an image that is open already. number: of the volume that was chosen, from
// 1 on; 0 if none was.
OpenError OpenImageContents(const ImageRequest &request, const Container &container, size_t number,
                            std::unique_ptr<OwnedVolume> *volume);

}  // namespace vx
