// What the library's entry answers for an error of any of its parts.
#pragma once

#include "Error.h"
#include "VolumeLibraryStatus.h"

namespace vx {

VolumeLibraryStatus StatusOfError(const Error &error);

}  // namespace vx
