// Which errors of the system say that a disk, or the file system that a file lies on, went away.
// The numbers differ by platform.
#pragma once

namespace vx {

// error: a number of errno.
bool MeansGone(int error);

}  // namespace vx
