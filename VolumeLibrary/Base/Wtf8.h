// The bytes that stand for a name which a disk stores as UTF-16: UTF-8, with a surrogate that
// stands alone written as if it were a character. NameMapping shows those bytes and finds them
// again, so that no two names of a folder are confused.
#pragma once

#include "ByteView.h"

#include <string>

namespace vx {

// units: little-endian UTF-16; an odd byte at the end is left out.
std::string Wtf8FromUtf16(ByteView units);

// False for what cannot be the name of an entry: empty, ".", "..", or with a "/" or a zero.
bool IsEntryName(const std::string &name);

}  // namespace vx
