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

// Bytes that follow a lead byte, or -1 if it leads nothing.
int TrailCount(unsigned char lead)
{
    if (lead < 0x80)
        return 0;
    if (lead < 0xc2 || lead > 0xf4)
        return -1;
    return lead < 0xe0 ? 1 : lead < 0xf0 ? 2 : 3;
}

// Some lead bytes allow only part of the second bytes (Unicode Standard, table 3-7).
bool MayFollow(unsigned char lead, unsigned char second)
{
    const unsigned lowest = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    return second >= lowest && second <= highest;
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

bool IsUtf16(std::u16string_view text)
{
    for (size_t at = 0; at < text.size(); ++at) {
        if (IsTrailing(text[at]))
            return false;
        if (IsLeading(text[at]) && (++at == text.size() || !IsTrailing(text[at])))
            return false;
    }
    return true;
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

bool IsUtf8(const std::string &text)
{
    const auto byteAt = [&text](size_t i) { return static_cast<unsigned char>(text[i]); };
    for (size_t position = 0; position < text.size();) {
        const unsigned char lead = byteAt(position++);
        const int trails = TrailCount(lead);
        if (trails < 0 || text.size() - position < static_cast<size_t>(trails))
            return false;
        if (trails > 0 && !MayFollow(lead, byteAt(position)))
            return false;
        for (int i = 0; i < trails; ++i) {
            if ((byteAt(position++) & 0xc0) != 0x80)
                return false;
        }
    }
    return true;
}

}  // namespace vx
