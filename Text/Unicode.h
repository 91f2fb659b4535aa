// Characters of UTF-16 text, one after the other, and whether texts are valid.
#pragma once

#include "CodePoints.h"

namespace vx {

// The character at *position, which moves beyond it and must be below text.size(). A surrogate
// without its partner becomes kReplacementCharacter.
char32_t NextCharacter(std::u16string_view text, size_t *position);

// Whether every surrogate has its partner.
bool IsUtf16(std::u16string_view text);

// Whether the bytes are UTF-8 without overlong forms and surrogates.
bool IsUtf8(std::string_view text);

}  // namespace vx
