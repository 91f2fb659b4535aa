#include "JsonText.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(JsonText, QuotesBackslashesAndControlCharactersAreEscaped)
{
    EXPECT_EQ(JsonText(u"a\"b\\c\n\x01\u0085"), "\"a\\\"b\\\\c\\u000a\\u0001\\u0085\"");
}

TEST(JsonText, EverythingElseIsUtf8)
{
    EXPECT_EQ(JsonText(u"\u00fc\u65e5\U0001f600"), "\"\u00fc\u65e5\U0001f600\"");
}

TEST(JsonText, ALoneSurrogateIsReplaced)
{
    const char16_t lone[] = {0xdbff, 0};
    EXPECT_EQ(JsonText(std::u16string_view(lone, 1)), "\"\ufffd\"");
}

}  // namespace
}  // namespace vx
