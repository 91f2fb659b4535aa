// A password as the format hashes it: UTF-16LE.
#pragma once

#include "KeyMaterial.h"

#include <optional>
#include <string_view>

namespace vx::bitlocker {

// "aé" -> 61 00 e9 00. Characters outside the basic plane become surrogate pairs; nothing is
// normalised. None for text that is no valid UTF-8. The result is wiped with its owner.
std::optional<KeyMaterial> Utf16FromUtf8(std::string_view text);

}  // namespace vx::bitlocker
