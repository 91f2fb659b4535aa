// An exported file as it lies in the destination.
#pragma once

#include "UniqueFd.h"

#include <cstdint>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace vx {

// Tells two files of this machine apart, whatever their names.
using FileIdentity = std::pair<uint64_t, uint64_t>;
FileIdentity IdentityOf(const struct stat &file);

// Why the file of that name in an open folder is not one of size bytes; empty if it is.
std::string ReasonNotThere(int folder, const std::string &name, int64_t size);

// Opens it for reading. A link is not followed, and a FIFO or a device that has come into its place
// is not waited for: errno says ENXIO.
UniqueFd OpenArrived(int folder, const std::string &name);

}  // namespace vx
