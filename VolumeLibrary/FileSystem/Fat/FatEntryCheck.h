// How much an entry of a FAT folder looks like one: folders hold no checksums, so damage shows only
// in what no program writes.
#pragma once

#include "FatGeometry.h"
#include "FolderBytes.h"

namespace vx {

// How many of its fields hold what they should not: letters that no short name has, reserved
// attributes, a first cluster off the volume, an impossible time, a size of a folder.
int OdditiesOf(const FolderBytes::Entry &entry, const FatGeometry &geometry);

// Whether its short name has bytes that no name has. Other oddities are found in real names.
bool HasControlsInName(const FolderBytes::Entry &entry);

// FAT12 and FAT16 use the upper half for other ends.
uint32_t FirstClusterOf(const FolderBytes::Entry &entry, FatGeometry::Kind kind);

}  // namespace vx
