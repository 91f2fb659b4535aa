// The label of a FAT or exFAT volume: that of its root folder or, of FAT, else that of its boot
// sector.
#pragma once

#include "ByteSource.h"

#include <string>

namespace vx {

// UTF-8; empty if there is none or it cannot be read. Reads boot sectors and 64 KiB of the root
// folder at most.
std::string FatLabel(const ByteSource &volume);

}  // namespace vx
