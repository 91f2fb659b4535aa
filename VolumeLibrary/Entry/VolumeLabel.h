// The label of a volume, for lists: a volume that is damaged or cannot be read has none.
//
// Reads no more than the boot sector and 64 KiB; of an encrypted volume the copies of its metadata
// up to the first sound one, where Windows noted computer, label and date. Threads: any.
#pragma once

#include "FileSystemKind.h"

#include <string>

namespace vx {

// UTF-8 as the volume stores it, not made fit for a terminal. Empty if there is none.
std::string VolumeLabel(const ByteSource &volume, FileSystemKind kind);

}  // namespace vx
