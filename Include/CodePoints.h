// Characters of UTF-8 and UTF-16, one at a time: the one decoder and encoder of each. Headers only,
// since programs and the volume library both use it.
//
// Source of the rules: The Unicode Standard, chapter 3, "Unicode Encoding Forms".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vx {

// Shown in place of what is not a character.
constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char32_t kInvalidCharacter = 0xFFFFFFFF;

constexpr bool IsLeadingSurrogate(char32_t point)
{
    return point >= 0xD800 && point < 0xDC00;
}

constexpr bool IsTrailingSurrogate(char32_t point)
{
    return point >= 0xDC00 && point < 0xE000;
}

constexpr bool IsSurrogate(char32_t point)
{
    return point >= 0xD800 && point < 0xE000;
}

// --- UTF-16

// How many units the character takes: 1 or 2.
constexpr size_t UnitCount(char32_t point)
{
    return point < 0x10000 ? 1 : 2;
}

// The character at a unit, of which next is the one after it, or 0. A surrogate without its partner
// is returned as it is.
constexpr char32_t CharacterOf(char16_t unit, char16_t next)
{
    if (!IsLeadingSurrogate(unit) || !IsTrailingSurrogate(next))
        return unit;
    return 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{next} - 0xDC00);
}

// at: below text.size().
constexpr char32_t CharacterAt(std::u16string_view text, size_t at)
{
    return CharacterOf(text[at], at + 1 < text.size() ? text[at + 1] : u'\0');
}

// The unit of a character, or the first of two.
constexpr char16_t FirstUnit(char32_t point)
{
    return static_cast<char16_t>(point < 0x10000 ? point : 0xD7C0 + (point >> 10));
}

// The second of two.
constexpr char16_t SecondUnit(char32_t point)
{
    return static_cast<char16_t>(0xDC00 + (point & 0x3FF));
}

// --- UTF-8

// How many bytes a lead byte announces, itself included; 0 if it leads nothing.
constexpr size_t SequenceLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// The character at the front of the text, which is not empty, and its length in bytes;
// kInvalidCharacter, whatever the length, for bytes that are not valid UTF-8.
inline char32_t CharacterAtFront(std::string_view text, size_t *length)
{
    constexpr char32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[0]);
    *length = SequenceLength(lead);
    if (*length <= 1)
        return *length == 1 ? lead : kInvalidCharacter;
    if (*length > text.size())
        return kInvalidCharacter;
    char32_t point = lead & (0x7Fu >> *length);
    for (size_t i = 1; i < *length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80)
            return kInvalidCharacter;
        point = point << 6 | (next & 0x3F);
    }
    const bool isValid = point >= kLowest[*length] && point <= 0x10FFFF && !IsSurrogate(point);
    return isValid ? point : kInvalidCharacter;
}

// Takes one character off the front of a text that is not empty; of invalid bytes one.
inline char32_t TakeCharacter(std::string_view *text)
{
    size_t length = 0;
    const char32_t point = CharacterAtFront(*text, &length);
    text->remove_prefix(point == kInvalidCharacter ? 1 : length);
    return point;
}

// Appends a character up to U+10FFFF. A surrogate is written like any other.
inline void AppendUtf8(char32_t point, std::string *text)
{
    constexpr char32_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
    const auto append = [text](char32_t byte) { text->push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        append(point);
        return;
    }
    const int tails = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    append(kLead[tails] | point >> (6 * tails));
    for (int shift = 6 * (tails - 1); shift >= 0; shift -= 6)
        append(0x80 | (point >> shift & 0x3F));
}

}  // namespace vx
