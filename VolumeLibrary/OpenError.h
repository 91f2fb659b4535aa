// Why a disk or image could not be opened: a status of the library, and what is to be said
// beyond its text; or that it was, and what was noticed, a line each. detail never contains a
// secret.
#pragma once

#include "VolumeLibraryStatus.h"

#include <string>

namespace vx {

struct [[nodiscard]] OpenError {
    VolumeLibraryStatus status = VolumeLibraryStatus::kSuccess;
    std::string detail;

    explicit operator bool() const { return status != VolumeLibraryStatus::kSuccess; }
};

}  // namespace vx
