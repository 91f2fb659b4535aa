// The folder with the system's device files, without "/" at the end: "/dev", or that of a stand-in.
#pragma once

#include <string>

namespace vx {

std::string DeviceFolder();

}  // namespace vx
