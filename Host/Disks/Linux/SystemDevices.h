// Which devices the running system itself lives on.
//
// Source: proc_pid_mountinfo(5).
// Threads: one at a time.
#pragma once

#include <set>
#include <string>

namespace vx {

struct SystemFolders;

// The kernel's names ("sda2", "dm-0") of what is mounted as "/", "/usr", "/var", "/home" or for
// booting, and of the devices that these are made of.
std::set<std::string> SystemDevices(const SystemFolders &folders);

}  // namespace vx
