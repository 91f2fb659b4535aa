#include "Utf16.h"

#include "ByteReader.h"

namespace vx::bitlocker {

namespace {

constexpr char32_t kReplacement = 0xfffd;

bool isSurrogate(char32_t value)
{
    return value >= 0xd800 && value <= 0xdfff;
}

// The number of bytes that a first byte announces, 0 for none.
size_t sequenceLength(unsigned char first)
{
    if (first < 0x80)
        return 1;
    if (first >= 0xc2 && first <= 0xdf)
        return 2;
    if (first >= 0xe0 && first <= 0xef)
        return 3;
    return first >= 0xf0 && first <= 0xf4 ? 4 : 0;
}

// The character at the front of the text, whose length is put into length.
char32_t characterAt(std::string_view text, size_t &length)
{
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    static constexpr unsigned kFirstBits[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
    length = sequenceLength(static_cast<unsigned char>(text[0]));
    if (length == 0 || length > text.size())
        return kInvalidCharacter;
    char32_t value = static_cast<unsigned char>(text[0]) & kFirstBits[length];
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0) != 0x80)
            return kInvalidCharacter;
        value = value << 6 | (next & 0x3f);
    }
    if (value < kSmallest[length] || value > 0x10ffff || isSurrogate(value))
        return kInvalidCharacter;
    return value;
}

void putUnit(uint8_t *&place, char32_t unit)
{
    *place++ = static_cast<uint8_t>(unit);
    *place++ = static_cast<uint8_t>(unit >> 8);
}

void putUtf8(std::string &text, char32_t value)
{
    if (value < 0x80) {
        text += static_cast<char>(value);
        return;
    }
    const int more = value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
    static constexpr unsigned kMark[] = {0, 0xc0, 0xe0, 0xf0};
    text += static_cast<char>(kMark[more] | value >> (6 * more));
    for (int i = more - 1; i >= 0; --i)
        text += static_cast<char>(0x80 | ((value >> (6 * i)) & 0x3f));
}

// Takes one character: one unit or a pair.
char32_t takeUnits(ByteReader &reader)
{
    const char32_t unit = reader.u16();
    if (!isSurrogate(unit))
        return unit;
    ByteReader ahead = reader;
    const char32_t low = ahead.u16();
    if (unit >= 0xdc00 || low < 0xdc00 || low > 0xdfff)
        return kReplacement;
    reader = ahead;
    return 0x10000 + ((unit - 0xd800) << 10) + (low - 0xdc00);
}

}  // namespace

char32_t takeUtf8Character(std::string_view &text)
{
    size_t length = 0;
    const char32_t value = characterAt(text, length);
    text.remove_prefix(value == kInvalidCharacter ? 1 : length);
    return value;
}

std::optional<KeyMaterial> utf16FromUtf8(std::string_view text)
{
    KeyMaterial units(text.size() * 2);  // never longer: one byte gives one unit at most
    uint8_t *place = units.data();
    while (!text.empty()) {
        const char32_t value = takeUtf8Character(text);
        if (value == kInvalidCharacter)
            return std::nullopt;
        if (value < 0x10000) {
            putUnit(place, value);
            continue;
        }
        putUnit(place, 0xd800 + ((value - 0x10000) >> 10));
        putUnit(place, 0xdc00 + ((value - 0x10000) & 0x3ff));
    }
    return KeyMaterial(units.view().first(static_cast<size_t>(place - units.data())));
}

std::string utf8FromUtf16(ByteView bytes)
{
    std::string text;
    ByteReader reader(bytes);
    while (reader.left() >= 2) {
        const char32_t value = takeUnits(reader);
        if (value == 0)
            break;
        putUtf8(text, value);
    }
    return text;
}

}  // namespace vx::bitlocker
