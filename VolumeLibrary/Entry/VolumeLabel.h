// The label of a volume, by which people know it. For lists: whatever is damaged or cannot be read
// gives no label.
//
// Reads no more than the boot sector and 64 KiB; of an encrypted volume one copy of its metadata
// after the other, of which the first sound one tells what the system noted: computer, label and
// date. Threads: any.
#pragma once

#include "FileSystemKind.h"

#include <string>

namespace vx {

// UTF-8 as the volume stores it, not made fit for a terminal. Empty if there is none.
std::string VolumeLabel(const ByteSource &volume, FileSystemKind kind);

}  // namespace vx
