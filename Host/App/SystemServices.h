// The services of a real system: its disks, volume-info, the explorer, the desktop.
//
// Ownership: the caller owns them. Threads: made on the main thread; then as HostServices.h says.
#pragma once

#include "HostRequest.h"
#include "HostServices.h"

namespace vx {

// The programs are looked for beside the application's bundle.
HostServices SystemServices();
HostServices SystemServicesWith(const HostPrograms &programs);

}  // namespace vx
