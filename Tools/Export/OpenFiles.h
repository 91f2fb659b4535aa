// Whether this process has a file open, asked while other threads open and close theirs.
#pragma once

#include <sys/stat.h>

namespace vx {

bool IsOpenHere(const struct stat &file);

}  // namespace vx
