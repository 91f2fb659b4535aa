#include "Unicode.h"

namespace vx {
namespace {

bool IsLeading(char16_t unit)
{
    return unit >= 0xd800 && unit < 0xdc00;
}

bool IsTrailing(char16_t unit)
{
    return unit >= 0xdc00 && unit < 0xe000;
}

}  // namespace

char32_t NextCharacter(std::u16string_view text, size_t *position)
{
    const char16_t unit = text[(*position)++];
    if (!IsLeading(unit))
        return IsTrailing(unit) ? kReplacementCharacter : unit;
    if (*position == text.size() || !IsTrailing(text[*position]))
        return kReplacementCharacter;
    const char16_t trailing = text[(*position)++];
    return 0x10000 + ((char32_t(unit) - 0xd800) << 10) + (char32_t(trailing) - 0xdc00);
}

void AppendUtf8(char32_t character, std::string *text)
{
    const auto append = [text](char32_t byte) { text->push_back(static_cast<char>(byte)); };
    if (character < 0x80)
        return append(character);
    if (character < 0x800) {
        append(0xc0 | character >> 6);
    } else if (character < 0x10000) {
        append(0xe0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3f));
    } else {
        append(0xf0 | character >> 18);
        append(0x80 | (character >> 12 & 0x3f));
        append(0x80 | (character >> 6 & 0x3f));
    }
    append(0x80 | (character & 0x3f));
}

}  // namespace vx
