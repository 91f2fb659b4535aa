// Threads: any.
#pragma once

#include <string>
#include <sys/types.h>

namespace vx {

// The name of a user; empty if the system knows none.
std::string UserName(uid_t user);

}  // namespace vx
