// The text of a file as signs of one byte each, whatever its encoding is.
//
// Recognised are UTF-16 in both orders and UTF-8, each with and without a byte-order mark, and
// code pages of which ASCII is a part. Source of the rules: The Unicode Standard, chapter 3.
#pragma once

#include "KeyMaterial.h"

namespace vx::bitlocker {

// ASCII stays as it is; a full-width digit becomes the digit, a dash or blank of another kind a
// blank, what ends a line '\n', and any other character '?'. Never longer than the file.
KeyMaterial PlainKeyText(ByteView file);

}  // namespace vx::bitlocker
