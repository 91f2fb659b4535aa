// Text between UTF-8, which the program speaks, and UTF-16LE, which the format stores.
#pragma once

#include "ByteView.h"
#include "KeyMaterial.h"

#include <optional>
#include <string>
#include <string_view>

namespace vx::bitlocker {

constexpr char32_t kInvalidCharacter = 0xffffffff;

// Takes one character off the front of a text that is not empty; kInvalidCharacter for a byte
// that begins none.
char32_t takeUtf8Character(std::string_view &text);

// "aé" -> 61 00 e9 00. Characters outside the basic plane become surrogate pairs; nothing is
// normalised. None for text that is no valid UTF-8. The result is wiped with its owner.
std::optional<KeyMaterial> utf16FromUtf8(std::string_view text);

// The text up to a zero unit or the end; a lone surrogate becomes U+FFFD.
std::string utf8FromUtf16(ByteView bytes);

}  // namespace vx::bitlocker
