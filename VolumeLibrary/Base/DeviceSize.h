// Disk devices, which differ by platform: which files are some, their sizes in
// bytes, and who may read them.
#pragma once

#include "Error.h"

#include <cstdint>
#include <string>
#include <sys/types.h>

namespace vx {

// Whether a file of this mode (st_mode) is a disk device: a block device, and where disks have a
// raw form, a character device too.
bool IsDiskDevice(mode_t mode);

// Of an open regular file or disk device. Errors: kSystemError; EISDIR or ENOTSUP for what is
// neither.
Result<uint64_t> DeviceSize(int descriptor);

// Of a logical sector of the disk device at the path; 0 if it cannot be found.
uint32_t DeviceSectorBytes(const std::string &path);

// What a user may do who has no permission to read a disk device.
std::string AdviceForReadingDevice();

}  // namespace vx
