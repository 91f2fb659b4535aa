// What is on a device, by its first sector: for systems that do not say it, or not of every device.
//
// Threads: any. A call takes as long as the device takes for one sector.
#pragma once

#include <string>

namespace vx {

// "bitlocker", "ntfs", "exfat" or "vfat"; empty if it is something else, or if this user may not
// read the device.
std::string FileSystemOnDevice(const std::string &path);

}  // namespace vx
