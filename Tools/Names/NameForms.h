// Names derived from a file's name: cut to a length, for a file that is still arriving, for a copy
// that is not whole. UTF-8; a name is cut between characters only.
#pragma once

#include <cstddef>
#include <string>

namespace vx {

// The name with a mark before its extension, cut before the mark until it has no more than longest
// bytes: "letter.txt", "~1" → "letter~1.txt". What begins with the last "." is the extension,
// unless it is the whole name or too long for one.
std::string MarkedName(const std::string &name, const std::string &mark, size_t longest);

// ".NAME.partial"; with a number ".NAME.2.partial"
std::string PartialName(const std::string &name, unsigned number, size_t longest);

// "NAME (damaged).txt", and with a number "NAME (damaged 2).txt"
std::string DamagedName(const std::string &name, unsigned number, size_t longest);

}  // namespace vx
