// What the decryptor says, as a status of the library.
#pragma once

#include "Bitlocker/Error.h"
#include "OpenError.h"

namespace vx {

// error: a failure. The detail is kept.
OpenError FromDecryptor(const bitlocker::Error &error);

}  // namespace vx
