#include "Unicode.h"

namespace vx {

char32_t NextCharacter(std::u16string_view text, size_t *position)
{
    const char32_t character = CharacterAt(text, *position);
    *position += UnitCount(character);
    return IsSurrogate(character) ? kReplacementCharacter : character;
}

bool IsUtf16(std::u16string_view text)
{
    for (size_t at = 0; at < text.size();) {
        const char32_t character = CharacterAt(text, at);
        if (IsSurrogate(character))
            return false;
        at += UnitCount(character);
    }
    return true;
}

bool IsUtf8(std::string_view text)
{
    while (!text.empty()) {
        if (TakeCharacter(&text) == kInvalidCharacter)
            return false;
    }
    return true;
}

}  // namespace vx
