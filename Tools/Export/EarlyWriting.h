// A file system keeps what it was given in memory for a while. An export that is synced at its end
// would copy first and wait for the disk then; begun early, the disk writes while it copies.
// Threads: any.
#pragma once

#include <cstdint>

namespace vx {

// Asks for a range of an open file to be written to the disk, and does not wait for it, unless the
// disk has more than enough to do. It is a request only: what fails is reported by the sync.
void BeginWriting(int file, int64_t offset, int64_t length);

}  // namespace vx
