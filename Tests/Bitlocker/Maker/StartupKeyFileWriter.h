// Makes startup key files.
#pragma once

#include "ByteView.h"
#include "Guid.h"

namespace vx::bitlocker::maker {

// The file for the protector, with StartupKeyOf(protector) inside. windows11: the longer form,
// in which another entry stands before the key.
std::vector<uint8_t> MakeStartupKeyFile(const Guid &protector, bool windows11 = false);

}  // namespace vx::bitlocker::maker
