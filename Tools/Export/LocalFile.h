// An exported file as it lies in the destination.
#pragma once

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

}  // namespace vx
