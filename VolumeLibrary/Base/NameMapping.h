// File names between the disk's bytes and the volume's UTF-16, without losing any name.
//
// A name on disk is any string of bytes except "/" and zero; most are UTF-8 and are simply
// converted. Each byte b that is not part of valid UTF-8 becomes the one private-use unit
// U+EF00 + b, so U+EF80 to U+EFFF. Should the disk's name itself hold the UTF-8 form of one of
// those 128 characters, its three bytes are written in the same way, one unit each. Such a unit
// therefore always stands for exactly one byte, and going there and back gives the same bytes:
//   "a\xE9" (Latin-1)      -> U+0061 U+EFE9                -> "a\xE9"
//   "\xEE\xBF\xA9"(U+EFE9) -> U+EFEE U+EFBF U+EFA9          -> "\xEE\xBF\xA9"
// The UTF-16 is always valid: lone surrogates are not used, since the platform's strings
// cannot hold them.
#pragma once

#include <cstddef>
#include <string>

namespace vx {

// Writes the zero-terminated name to units, at most capacity of them with the ending zero, which
// is always written (capacity is at least 1). A name too long is cut between two characters.
void NameToUtf16(const char *name, char16_t *units, size_t capacity);

// Appends the disk's bytes for count units of a name or a path ("/" stays "/"). Returns false,
// with part of the bytes appended, when a surrogate stands alone.
bool AppendNameBytes(const char16_t *units, size_t count, std::string *bytes);

}  // namespace vx
