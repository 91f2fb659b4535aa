// Disk devices, which differ by platform: which files are some, and their size in bytes.
#pragma once

#include "Error.h"

#include <cstdint>
#include <sys/types.h>

namespace vx {

// Whether a file of this mode (st_mode) is a disk device: a block device, and where disks have a
// raw form, a character device too.
bool IsDiskDevice(mode_t mode);

// Of an open regular file or disk device. Errors: kSystemError; EISDIR or ENOTSUP for what is
// neither.
Result<uint64_t> DeviceSize(int descriptor);

}  // namespace vx
