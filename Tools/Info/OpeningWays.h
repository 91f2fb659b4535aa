// The ways in which an encrypted volume opens, as words of a command line.
#pragma once

#include "DiskReport.h"

#include <string>

namespace vx {

// A line for each kind of secret, and an example with the address of the volume.
std::string OpeningWaysText(const DiskEncryptionReport &encryption, const std::string &address);

}  // namespace vx
