// Opens the file or device that holds a disk or a volume, for reading only.
//
// A block device and a single raw image are read directly. A split raw image (named by its
// first part: x.001, x.aa, ...), E01, VHD and VMDK images are read through libtsk.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "OpenError.h"

#include <memory>

namespace vx {

// source receives the contents when there is no error. Errors: kNotFound, kPermissionDenied
// with what to do about it, kNotAFolder for what is neither a file nor a block device,
// kContainerNotSupported, kReadFailed.
OpenError OpenContainer(const char *path, std::shared_ptr<const bitlocker::ByteSource> *source);

}  // namespace vx
