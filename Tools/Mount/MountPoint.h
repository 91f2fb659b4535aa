// Whether this machine, and a folder of it, can have a volume mounted: what can be known before the
// volume is opened and a secret is asked for.
//
// Threads: any. Errors: one line without a line end that says what to do.
#pragma once

#include <string>

namespace vx {

// Whether libfuse finds what it needs: the device, and for users other than the administrator the
// program fusermount3.
bool CanMount(std::string *error);

// folder: receives its absolute path without links. It must be empty, and not in a plain folder
// that is to be mounted on it.
bool IsUsableMountPoint(const std::string &volume, std::string *folder, std::string *error);

}  // namespace vx
