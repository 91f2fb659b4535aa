// Why something could not be opened, as a status of the library.
#pragma once

#include "VolumeLibraryStatus.h"

namespace vx {

// error: a value of errno; never kSuccess.
VolumeLibraryStatus StatusFromErrno(int error);

}  // namespace vx
