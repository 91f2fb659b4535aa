// The files that a list of URIs names, as file managers hand it out (RFC 2483, RFC 3986, RFC 8089).
//
// Threads: any.
#pragma once

#include <string>
#include <vector>

namespace vx {

// Paths as the system has them: bytes that need not be UTF-8. Empty if one of the URIs names no
// file of this machine, or no file at all. "file:///a%20b.img\r\n" → "/a b.img"
std::vector<std::string> filesOfUriList(const std::string &list);

}  // namespace vx
