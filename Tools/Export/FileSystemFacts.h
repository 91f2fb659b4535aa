// What the system says of a file system and its files. Its own source for each system.
#pragma once

#include <cstdint>
#include <ctime>
#include <sys/stat.h>

namespace vx {

// How large a file may be, in bytes, where an open file lies; the largest number if the system says
// nothing.
int64_t LargestFileBySystem(int file);

// The same for an open folder, as far as the kind of its file system says.
int64_t LargestFileByKind(int folder);

// When it was modified.
timespec ModificationOf(const struct stat &file);

}  // namespace vx
