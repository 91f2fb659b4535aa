// Text between UTF-8, which the program speaks, and UTF-16LE, which the format stores.
#pragma once

#include "ByteView.h"
#include "KeyMaterial.h"

#include <optional>
#include <string>
#include <string_view>

namespace vx::bitlocker {

// "aé" -> 61 00 e9 00. Characters outside the basic plane become surrogate pairs; nothing is
// normalised. None for text that is no valid UTF-8. The result is wiped with its owner.
std::optional<KeyMaterial> utf16FromUtf8(std::string_view text);

// The text up to a zero unit or the end; a lone surrogate becomes U+FFFD.
std::string utf8FromUtf16(ByteView bytes);

}  // namespace vx::bitlocker
