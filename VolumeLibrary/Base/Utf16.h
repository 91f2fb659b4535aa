// Text between UTF-8, which the program speaks, and UTF-16LE, which the format stores.
#pragma once

#include "ByteView.h"

#include <string>
#include <string_view>

namespace vx {

constexpr char32_t kInvalidCharacter = 0xffffffff;

// Takes one character off the front of a text that is not empty; kInvalidCharacter for a byte
// that begins none.
char32_t TakeUtf8Character(std::string_view &text);

// The text up to a zero unit or the end; a lone surrogate becomes U+FFFD.
std::string Utf8FromUtf16(ByteView bytes);

}  // namespace vx
