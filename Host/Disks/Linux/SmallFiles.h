// The small text files in which the system describes its devices. A device may vanish at any time:
// what cannot be read is empty.
//
// Threads: any.
#pragma once

#include <string>
#include <vector>

namespace vx {

// At most 1 MiB, the rest is left out; empty unless it is an ordinary file.
std::string ReadSmallFile(const std::string &path);
// The first line, without its end.
std::string ReadLineOf(const std::string &path);
// The names in a folder but for those that begin with a dot, in no order.
std::vector<std::string> NamesIn(const std::string &folder);

}  // namespace vx
