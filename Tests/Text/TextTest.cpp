#include "NumberText.h"
#include "PathText.h"
#include "TerminalText.h"
#include "Unicode.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

TEST(TerminalText, OrdinaryTextIsUnchanged)
{
    EXPECT_EQ(TerminalText(u"/B\u00fccher/\u65e5\u672c/\U0001f600"),
              "/B\u00fccher/\u65e5\u672c/\U0001f600");
}

TEST(TerminalText, WhatCouldDriveTheTerminalIsEscaped)
{
    EXPECT_EQ(TerminalText(u"\x1b[2J"), "\\x1b[2J");
    EXPECT_EQ(TerminalText(u"a\nb\tc\rd\x7f"), "a\\nb\\tc\\x0dd\\x7f");
    EXPECT_EQ(TerminalText(u"\u009b2J"), "\\u009b2J");
    EXPECT_EQ(TerminalText(u"\u202etxt.exe"), "\\u202etxt.exe");
    EXPECT_EQ(TerminalText(u"\u2028"), "\\u2028");
    EXPECT_EQ(TerminalText(u"\U000e0041"), "\\U000e0041");
}

TEST(TerminalText, ABackslashIsEscapedSoThatEscapesAreUnambiguous)
{
    EXPECT_EQ(TerminalText(u"a\\nb"), "a\\\\nb");
}

TEST(TerminalText, ALoneSurrogateIsReplaced)
{
    const char16_t lone[] = {u'a', 0xd800, u'b', 0xdc00, 0};
    EXPECT_EQ(TerminalText(std::u16string_view(lone, 4)), "a\ufffdb\ufffd");
}

TEST(TerminalText, BytesOfThisMachineKeepTheirUtf8)
{
    EXPECT_EQ(TerminalText(std::string("\u00fc\x1b")), "\u00fc\\x1b");
    EXPECT_EQ(TerminalText(std::string("a\xe9\x9b")), "a\xe9\x9b");
}

TEST(TerminalText, WhatCouldDriveTheTerminalIsEscapedInUtf8Too)
{
    EXPECT_EQ(TerminalText(std::string("\u009b2J\u202etxt")), "\\u009b2J\\u202etxt");
}

TEST(ClipFront, ATextThatFitsIsUnchanged)
{
    EXPECT_EQ(ClipFront("abcdef", 6), "abcdef");
}

TEST(ClipFront, TheEndOfALongTextStays)
{
    EXPECT_EQ(ClipFront("abcdef", 4), "\u2026def");
    EXPECT_EQ(ClipFront("abcdef", 1), "\u2026");
    EXPECT_EQ(ClipFront("abcdef", 0), "");
}

TEST(ClipFront, WideCharactersCountTwice)
{
    EXPECT_EQ(ColumnsOf("\u65e5\u672c"), 4u);
    EXPECT_EQ(ColumnsOf("e\u0301"), 1u);
    EXPECT_EQ(ClipFront("\u65e5\u672c\u8a9e", 4), "\u2026\u8a9e");
}

TEST(Unicode, OnlyShortestFormsWithoutSurrogatesAreUtf8)
{
    for (const char *text : {"", "a", "\u00fc", "\u65e5", "\U0001f600", "\xef\xbf\xbf"})
        EXPECT_TRUE(IsUtf8(text)) << text;
    for (const char *text : {"\xff", "\x80", "\xc3", "\xc0\xaf", "\xe0\x80\xaf", "\xed\xa0\x80",
                             "\xf4\x90\x80\x80", "\xe6\x97", "\xe6\x97z"})
        EXPECT_FALSE(IsUtf8(text)) << text;
}

TEST(NumberText, SizesHaveTheLargestUnitBelowThem)
{
    EXPECT_EQ(SizeText(0), "0 bytes");
    EXPECT_EQ(SizeText(1), "1 byte");
    EXPECT_EQ(SizeText(1023), "1,023 bytes");
    EXPECT_EQ(SizeText(1536), "1.5 KiB");
    EXPECT_EQ(SizeText(1048575), "1.0 MiB");
    EXPECT_EQ(SizeText(int64_t(5) << 30), "5.0 GiB");
    EXPECT_EQ(SizeText(INT64_MAX), "8.0 EiB");
}

TEST(NumberText, ThousandsAreGrouped)
{
    EXPECT_EQ(GroupedText(0), "0");
    EXPECT_EQ(GroupedText(999), "999");
    EXPECT_EQ(GroupedText(1000), "1,000");
    EXPECT_EQ(GroupedText(1234567), "1,234,567");
    EXPECT_EQ(GroupedText(-1000), "-1,000");
}

TEST(NumberText, DurationsHaveHoursOnlyWhenNeeded)
{
    EXPECT_EQ(DurationText(9), "0:09");
    EXPECT_EQ(DurationText(75), "1:15");
    EXPECT_EQ(DurationText(3700), "1:01:40");
    EXPECT_EQ(DurationText(1e12), "more than 99 hours");
    EXPECT_EQ(DurationText(-1), "0:00");
}

TEST(NumberText, MebibytesHaveOneDecimal)
{
    EXPECT_EQ(MebibyteText(1536 * 1024), "1.5");
    EXPECT_EQ(MebibyteText(0), "0.0");
}

TEST(PathText, TheFolderOfAPathIsAFolderToOpen)
{
    EXPECT_EQ(FolderOf("/a/b"), "/a");
    EXPECT_EQ(FolderOf("a/b//"), "a");
    EXPECT_EQ(FolderOf("/b"), "/");
    EXPECT_EQ(FolderOf("/"), "/");
    EXPECT_EQ(FolderOf("b"), ".");
}

TEST(PathText, ARelativePathIsSplitIntoItsFolderAndItsName)
{
    EXPECT_EQ(SplitPath("a/b/c").folder, "a/b");
    EXPECT_EQ(SplitPath("a/b/c").name, "c");
    EXPECT_EQ(SplitPath("c").folder, "");
    EXPECT_EQ(SplitPath("c").name, "c");
}

}  // namespace
}  // namespace vx
