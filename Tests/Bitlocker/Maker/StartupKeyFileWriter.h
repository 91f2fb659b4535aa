// Makes startup key files.
#pragma once

#include "Bitlocker/ByteView.h"
#include "Bitlocker/Guid.h"

namespace vx::bitlocker::maker {

// The file for the protector, with startupKeyOf(protector) inside. windows11: the longer form,
// in which another entry stands before the key.
std::vector<uint8_t> makeStartupKeyFile(const Guid &protector, bool windows11 = false);

}  // namespace vx::bitlocker::maker
