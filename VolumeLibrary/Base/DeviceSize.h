// The size in bytes of an open regular file or block device; asking differs by platform.
#pragma once

#include "Error.h"

#include <cstdint>

namespace vx {

// Errors: SystemError; EISDIR or ENOTSUP for what is neither a file nor a device.
Result<uint64_t> DeviceSize(int descriptor);

}  // namespace vx
