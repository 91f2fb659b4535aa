// The command that lets one user read one device until it is unplugged: the advice of every program
// of this package.
//
// Threads: any.
#pragma once

#include <string>

namespace vx {

// user and device: words of a shell. "anna", "/dev/sdb1" → "sudo setfacl -m u:anna:r /dev/sdb1"
std::string ReadingRightCommand(const std::string &user, const std::string &device);

}  // namespace vx
