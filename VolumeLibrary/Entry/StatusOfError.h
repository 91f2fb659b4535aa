// What the library's entry returns for an error.
#pragma once

#include "Error.h"
#include "VolumeLibraryStatus.h"

namespace vx {

VolumeLibraryStatus StatusOfError(const Error &error);

}  // namespace vx
