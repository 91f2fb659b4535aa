// UTF-8, one character at a time.
#pragma once

#include <string>

namespace vx {

// Appends the bytes of a character up to U+10FFFF. A surrogate is written like any other.
void AppendUtf8(char32_t point, std::string *bytes);

}  // namespace vx
