// Small texts of the desktop that are not worth waiting for: settings files and the output of a
// settings program. Neither a FIFO nor a program that never ends holds the caller up.
// Threads: any. Errors: an empty text; what is too long is cut.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace vx {

// The first 64 KiB of a regular file.
std::string briefContentsOf(const std::string &path);

// What a program writes to its standard output, the first 64 KiB of it; it is looked for in PATH,
// inherits no descriptor, and is killed after `patience`, with an empty result.
std::string briefOutputOf(const std::vector<std::string> &command,
                          std::chrono::milliseconds patience);

}  // namespace vx
