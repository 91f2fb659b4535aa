// Characters of UTF-16 text, one after the other, as they go into UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vx {

// What stands for a surrogate without its partner.
constexpr char32_t kReplacementCharacter = 0xfffd;

// The character at *position, which moves behind it and must be below text.size().
char32_t NextCharacter(std::u16string_view text, size_t *position);

// Whether every surrogate has its partner.
bool IsUtf16(std::u16string_view text);

// character: none of the surrogates.
void AppendUtf8(char32_t character, std::string *text);

// Whether the bytes are UTF-8 without overlong forms and surrogates.
bool IsUtf8(const std::string &text);

}  // namespace vx
