#include "TerminalText.h"

#include "Unicode.h"

#include <cstdint>
#include <cstdio>

namespace vx {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

template <size_t N>
bool IsIn(const Range (&ranges)[N], char32_t character)
{
    for (const Range &range : ranges) {
        if (character >= range.first && character <= range.last)
            return true;
    }
    return false;
}

bool IsEscaped(char32_t character)
{
    return character == '\\' || DrivesText(character);
}

// The blocks that every terminal draws wide, or onto the previous character.
unsigned WidthOf(char32_t character)
{
    static constexpr Range kNone[] = {{0x300, 0x36f},   {0x483, 0x489},   {0x591, 0x5bd},
                                      {0x610, 0x61a},   {0x64b, 0x65f},   {0x1ab0, 0x1aff},
                                      {0x1dc0, 0x1dff}, {0x200b, 0x200d}, {0x20d0, 0x20ff},
                                      {0xfe00, 0xfe0f}, {0xfe20, 0xfe2f}};
    static constexpr Range kWide[] = {{0x1100, 0x115f},   {0x2e80, 0x303e},   {0x3041, 0xa4cf},
                                      {0xa960, 0xa97c},   {0xac00, 0xd7a3},   {0xf900, 0xfaff},
                                      {0xfe30, 0xfe6f},   {0xff00, 0xff60},   {0xffe0, 0xffe6},
                                      {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff}, {0x1f900, 0x1f9ff},
                                      {0x20000, 0x3fffd}};
    if (IsIn(kNone, character))
        return 0;
    return IsIn(kWide, character) ? 2 : 1;
}

void AppendEscaped(char32_t character, std::string *shown)
{
    const auto code = static_cast<uint32_t>(character);
    char escape[16];
    if (character == '\\')
        snprintf(escape, sizeof(escape), "\\\\");
    else if (character == '\n')
        snprintf(escape, sizeof(escape), "\\n");
    else if (character == '\t')
        snprintf(escape, sizeof(escape), "\\t");
    else if (character < 0x80)
        snprintf(escape, sizeof(escape), "\\x%02x", code);
    else
        snprintf(escape, sizeof(escape), code > 0xffff ? "\\U%08x" : "\\u%04x", code);
    shown->append(escape);
}

}  // namespace

bool DrivesText(char32_t character)
{
    static constexpr Range kDriving[] = {{0, 0x1f},        {0x7f, 0x9f},     {0x61c, 0x61c},
                                         {0x200e, 0x200f}, {0x2028, 0x202e}, {0x2066, 0x2069},
                                         {0xfeff, 0xfeff}, {0xfff9, 0xfffb}, {0xe0000, 0xe007f}};
    return IsIn(kDriving, character);
}

std::string TerminalText(std::u16string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    for (size_t position = 0; position < text.size();) {
        const char32_t character = NextCharacter(text, &position);
        if (IsEscaped(character))
            AppendEscaped(character, &shown);
        else
            AppendUtf8(character, &shown);
    }
    return shown;
}

std::string TerminalText(const std::string &text)
{
    std::string shown;
    shown.reserve(text.size());
    for (std::string_view left = text; !left.empty();) {
        const std::string_view before = left;
        const char32_t character = TakeCharacter(&left);
        if (character != kInvalidCharacter && IsEscaped(character))
            AppendEscaped(character, &shown);
        else
            shown.append(before.substr(0, before.size() - left.size()));
    }
    return shown;
}

size_t ColumnsOf(const std::string &text)
{
    size_t columns = 0;
    for (std::string_view left = text; !left.empty();)
        columns += WidthOf(TakeCharacter(&left));
    return columns;
}

std::string ClipFront(const std::string &text, size_t columns)
{
    size_t width = ColumnsOf(text);
    if (width <= columns)
        return text;
    if (columns == 0)
        return "";
    std::string_view left = text;
    while (!left.empty() && width + 1 > columns)
        width -= WidthOf(TakeCharacter(&left));
    return std::string("\u2026").append(left);
}

}  // namespace vx
