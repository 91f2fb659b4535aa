// Where the parts of a volume may be whose copies of the metadata are all damaged, so that it can
// still be read with the key of its sectors.
#pragma once

#include "BootSector.h"
#include "ByteSource.h"
#include "MetadataBlock.h"

namespace vx::bitlocker {

// Guesses, the likeliest first, without keys: what the header of each copy says that the boot
// sector names, and how Windows 10 and 11 arrange a volume, with the relocated sectors after the
// first copy. What cannot lie in the volume is left out. Which of them is right shows only what
// they decrypt. method: 0 if it is not known.
std::vector<MetadataBlock> MetadataRemains(const ByteSource &source, const BootSector &boot);

}  // namespace vx::bitlocker
