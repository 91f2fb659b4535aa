#include "Utf16.h"

#include "ByteReader.h"

namespace vx {

namespace {

constexpr char32_t kReplacement = 0xfffd;

bool IsSurrogate(char32_t value)
{
    return value >= 0xd800 && value <= 0xdfff;
}

// The number of bytes that a first byte announces, 0 for none.
size_t SequenceLength(unsigned char first)
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
char32_t CharacterAt(std::string_view text, size_t &length)
{
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    static constexpr unsigned kFirstBits[] = {0, 0x7f, 0x1f, 0x0f, 0x07};
    length = SequenceLength(static_cast<unsigned char>(text[0]));
    if (length == 0 || length > text.size())
        return kInvalidCharacter;
    char32_t value = static_cast<unsigned char>(text[0]) & kFirstBits[length];
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xc0) != 0x80)
            return kInvalidCharacter;
        value = value << 6 | (next & 0x3f);
    }
    if (value < kSmallest[length] || value > 0x10ffff || IsSurrogate(value))
        return kInvalidCharacter;
    return value;
}

void PutUtf8(std::string &text, char32_t value)
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
char32_t TakeUnits(ByteReader &reader)
{
    const char32_t unit = reader.U16();
    if (!IsSurrogate(unit))
        return unit;
    ByteReader ahead = reader;
    const char32_t low = ahead.U16();
    if (unit >= 0xdc00 || low < 0xdc00 || low > 0xdfff)
        return kReplacement;
    reader = ahead;
    return 0x10000 + ((unit - 0xd800) << 10) + (low - 0xdc00);
}

}  // namespace

char32_t TakeUtf8Character(std::string_view &text)
{
    size_t length = 0;
    const char32_t value = CharacterAt(text, length);
    text.remove_prefix(value == kInvalidCharacter ? 1 : length);
    return value;
}

std::string Utf8FromUtf16(ByteView bytes)
{
    std::string text;
    ByteReader reader(bytes);
    while (reader.Left() >= 2) {
        const char32_t value = TakeUnits(reader);
        if (value == 0)
            break;
        PutUtf8(text, value);
    }
    return text;
}

}  // namespace vx
