// How a volume is encrypted and what opens it, as text for people.
#pragma once

#include "DiskReport.h"

#include <string>

namespace vx {

// "encrypting, 37.5 % encrypted (15.0 GiB of 40.0 GiB)"; never 100 % unless all of it is.
std::string EncryptionState(const DiskVolumeReport &volume);

// The section of a volume. address: the word that opens it.
std::string EncryptionText(const DiskVolumeReport &volume, const std::string &address);

}  // namespace vx
