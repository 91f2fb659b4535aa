// Writes a map file that GNU ddrescue takes as its domain (--domain-mapfile): what shall be read is
// marked "+", the rest "?".
//
// The file appears under its name when it is complete, and replaces an older one then.
#pragma once

#include "ByteRange.h"

#include <string>

namespace vx {

// wanted: sorted and without overlaps, all of it before size. The text of the file.
std::string RescueMapText(const ByteRanges &wanted, uint64_t size);

// False: error says in one line why.
bool WriteRescueMap(const std::string &path, const ByteRanges &wanted, uint64_t size,
                    std::string *error);

}  // namespace vx
