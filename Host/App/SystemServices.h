// The services of a real system: its disks, volume-info, the explorer, the desktop.
#pragma once

#include "HostRequest.h"
#include "HostServices.h"

namespace vx {

// The programs are looked for beside the application's bundle.
HostServices SystemServices();
HostServices SystemServicesWith(const HostPrograms &programs);

}  // namespace vx
