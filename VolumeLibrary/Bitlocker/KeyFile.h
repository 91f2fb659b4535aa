// Reads a file that holds keys, into memory that is wiped.
//
// Only ordinary files are read: a FIFO would be waited for, and reading a device may change it.
#pragma once

#include "Error.h"
#include "KeyMaterial.h"

namespace vx::bitlocker {

// largest: bytes. Errors: kSystemError, with an empty detail or what kind of file it is;
// kMalformedSecret for one that is longer.
Result<KeyMaterial> ReadKeyFile(const char *path, size_t largest);

}  // namespace vx::bitlocker
