// The ways in which an encrypted volume opens, as words of a command line.
#pragma once

#include "DiskReport.h"

#include <string>
#include <vector>

namespace vx {

// The kinds of --unlock that open the volume, the most usual first; only "none" if it opens without
// a secret.
std::vector<std::string> UnlockKindsOf(const DiskEncryptionReport &encryption);

// A line for each kind of secret, and an example with the address of the volume.
std::string OpeningWaysText(const DiskEncryptionReport &encryption, const std::string &address);

}  // namespace vx
