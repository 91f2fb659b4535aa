// Where the system describes its disks: the folders of Linux, or a stand-in for them.
//
// Threads: any.
#pragma once

#include <string>

namespace vx {

struct SystemFolders {
    std::string blocks = "/sys/class/block";
    std::string udevData = "/run/udev/data";
    std::string devices = "/dev";
    std::string mounts = "/proc/self/mountinfo";
    bool isStandIn = false;

    // A stand-in with the same folders below path: path/sys/class/block and so on.
    static SystemFolders Below(const std::string &path);
};

// Those of the system, until SetSystemFolder (AttachedDisks.h) names others.
SystemFolders CurrentSystemFolders();

}  // namespace vx
