// An exported file as it lies in the destination.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <utility>

namespace vx {

// What tells two files of this machine apart, whatever their names.
using FileIdentity = std::pair<uint64_t, uint64_t>;

// Why the file at path is not the copy of size bytes that an export, begun at started by this
// machine's clock, should have written there; empty if it is. identity receives the file's own
// if it exists.
std::string ReasonNotArrived(const std::string &path, int64_t size, time_t started,
                             FileIdentity *identity);

}  // namespace vx
