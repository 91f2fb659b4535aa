// Finds out what the file system of a destination does, by trying: in a hidden folder of its own
// inside the destination, which it removes. Nothing that exists is touched. If the folder cannot be
// made, what can be known without writing is taken.
#pragma once

#include "DestinationTraits.h"

namespace vx {

// folder: the destination, open.
DestinationTraits ProbeDestination(int folder);

// What can be known without writing: how long names and how large files may be, and whether case
// matters, if a name there shows it; its times are taken to be as coarse as they may be.
// folder: open, the destination or where it will be made.
DestinationTraits LookAtDestination(int folder);

}  // namespace vx
