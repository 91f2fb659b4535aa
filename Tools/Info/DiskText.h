// What is on a disk, as text for people: its container, its partitions, and of each encrypted
// volume how it is encrypted and what opens it.
#pragma once

#include "DiskReport.h"

#include <string>

namespace vx {

// volume: the path that was described, as given.
std::string DiskText(const std::string &volume, const DiskReport &report);

}  // namespace vx
