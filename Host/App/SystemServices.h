// The services of a real system: its disks, volume-info, the explorer, the desktop.
#pragma once

#include "HostServices.h"

namespace vx {

// The programs are looked for beside the application's bundle.
HostServices SystemServices();

}  // namespace vx
