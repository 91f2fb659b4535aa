#include "CodePoints.h"

#include <gtest/gtest.h>
#include <vector>

namespace vx {
namespace {

std::u32string CharactersOf(std::string_view text)
{
    std::u32string characters;
    while (!text.empty())
        characters += TakeCharacter(&text);
    return characters;
}

TEST(CodePoints, EveryCharacterComesBackFromUtf8AndFromUtf16)
{
    for (char32_t point = 0; point <= 0x10FFFF; ++point) {
        if (IsSurrogate(point))
            continue;
        std::string bytes;
        AppendUtf8(point, &bytes);
        ASSERT_EQ(CharactersOf(bytes), std::u32string(1, point)) << point;
        const std::u16string units = {FirstUnit(point), SecondUnit(point)};
        ASSERT_EQ(CharacterAt(std::u16string_view(units).substr(0, UnitCount(point)), 0), point);
    }
}

TEST(CodePoints, TheFirstAndLastOfEachLengthHaveTheBytesOfTheStandard)
{
    std::string bytes;
    for (const char32_t point : {0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF})
        AppendUtf8(point, &bytes);
    EXPECT_EQ(bytes,
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

// Overlong forms, surrogates, what lies beyond the last character, and sequences that end early.
TEST(CodePoints, OfInvalidUtf8EachByteIsInvalidByItself)
{
    for (const std::string text :
         {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xFF"})
        EXPECT_EQ(CharactersOf(text), std::u32string(text.size(), kInvalidCharacter)) << text;
    EXPECT_EQ(CharactersOf("\xE2\x82"
                           "A"),
              (std::u32string{kInvalidCharacter, kInvalidCharacter, U'A'}));
}

TEST(CodePoints, ASurrogateWithoutItsPartnerIsReturnedAsItIs)
{
    EXPECT_EQ(CharacterAt(u"\xD83D", 0), 0xD83Du);
    EXPECT_EQ(CharacterAt(u"\xD83Dx", 0), 0xD83Du);
    EXPECT_EQ(CharacterAt(u"\xDE00\xD83D", 0), 0xDE00u);
    std::string bytes;
    AppendUtf8(0xD83D, &bytes);
    EXPECT_EQ(bytes, "\xED\xA0\xBD");
}

}  // namespace
}  // namespace vx
