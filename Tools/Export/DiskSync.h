// Waits until a disk holds what was written to it.
#pragma once

namespace vx {

// folder: an open one on the file system. 0, or the errno of what could not be written.
int SyncDiskOf(int folder);

}  // namespace vx
