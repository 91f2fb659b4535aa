#include "Choice.h"

#include <chrono>
#include <gtest/gtest.h>

namespace vx {
namespace {

bool Matches(const std::string &pattern, const std::string &path, bool isFolder = false)
{
    return PathPattern(pattern).Matches(path, isFolder);
}

Options WithRules(std::vector<ChoiceRule> rules)
{
    Options options;
    options.rules = std::move(rules);
    return options;
}

TEST(PathPattern, ANameMatchesInEveryFolder)
{
    EXPECT_TRUE(Matches("a.txt", "a.txt"));
    EXPECT_TRUE(Matches("a.txt", "x/y/a.txt"));
    EXPECT_FALSE(Matches("a.txt", "a.txt/x"));
    EXPECT_FALSE(Matches("a.txt", "ba.txt"));
    EXPECT_FALSE(Matches("a.txt", "A.TXT"));
}

TEST(PathPattern, ALeadingSlashBindsToTheRoot)
{
    EXPECT_TRUE(Matches("/a", "a"));
    EXPECT_FALSE(Matches("/a", "x/a"));
    EXPECT_TRUE(Matches("/x/*.c", "x/a.c"));
    EXPECT_FALSE(Matches("/x/*.c", "x/y/a.c"));
}

TEST(PathPattern, APathMatchesAtTheEndOfLongerOnes)
{
    EXPECT_TRUE(Matches("x/a", "x/a"));
    EXPECT_TRUE(Matches("x/a", "y/x/a"));
    EXPECT_FALSE(Matches("x/a", "yx/a"));
    EXPECT_TRUE(Matches("x/?", "y/x/a"));
    EXPECT_FALSE(Matches("x/?", "a"));
}

TEST(PathPattern, ASlashAtItsEndMeansFolders)
{
    EXPECT_TRUE(Matches("cache/", "x/cache", true));
    EXPECT_FALSE(Matches("cache/", "x/cache", false));
}

TEST(PathPattern, ThreeStarsMatchTheFolderAndItsContents)
{
    EXPECT_TRUE(Matches("/a/***", "a", true));
    EXPECT_FALSE(Matches("/a/***", "a", false));
    EXPECT_TRUE(Matches("/a/***", "a/b/c"));
    EXPECT_FALSE(Matches("/a/**", "a", true));
}

TEST(PathPattern, TwoStarsCrossFolders)
{
    EXPECT_TRUE(Matches("a/**/b", "x/a/1/2/b"));
    EXPECT_FALSE(Matches("a/**/b", "a/b"));
    EXPECT_FALSE(Matches("a/*/b", "a/1/2/b"));
    EXPECT_TRUE(Matches("**/b", "b"));
    EXPECT_FALSE(Matches("/**/b", "b"));
    EXPECT_TRUE(Matches("**b", "x/b"));
}

TEST(PathPattern, BytesOfAClassAreNoSlashes)
{
    EXPECT_TRUE(Matches("/a[/-0]b", "a0b"));
    EXPECT_FALSE(Matches("/a[/-0]b", "a/b"));
    EXPECT_FALSE(Matches("/a[!x]b", "a/b"));
    EXPECT_TRUE(Matches("[[:digit:]-]", "-"));
    EXPECT_FALSE(Matches("[abc", "a"));
    EXPECT_FALSE(Matches("[[:digits:]]", "1"));
}

TEST(PathPattern, ABackslashCountsOnlyBesidesWildcards)
{
    EXPECT_TRUE(Matches("a\\b", "a\\b"));
    EXPECT_TRUE(Matches("a\\*b*", "a*bc"));
    EXPECT_FALSE(Matches("a\\*b*", "axbc"));
    EXPECT_FALSE(Matches("*\\", "a\\"));
}

TEST(PathPattern, APatternLongerThanAMachineWordMatchesToItsLastByte)
{
    for (size_t length : {62, 63, 64, 65, 127, 128, 129, 1000}) {
        const std::string name(length, 'a');
        EXPECT_TRUE(Matches(name + "?", name + "b")) << length;
        EXPECT_FALSE(Matches(name + "?", name)) << length;
        EXPECT_FALSE(Matches("*" + name + "b", name + "a")) << length;
        EXPECT_TRUE(Matches("*" + name + "b", "x" + name + "b")) << length;
    }
}

TEST(PathPattern, HostilePatternsTakeNoLongerThanOthers)
{
    std::string pattern;
    for (int i = 0; i < 2000; ++i)
        pattern += i % 3 == 0 ? "**a" : "*a";
    std::string path;
    for (int i = 0; i < 16000; ++i)
        path += i % 100 == 99 ? "a/" : "aa";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(Matches(pattern + "b", path));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(Choice, WithoutOptionsEverythingIsChosen)
{
    Choice choice{Options()};
    EXPECT_TRUE(choice.IsEverything());
    EXPECT_TRUE(choice.Has(u"/a", false, 0, 0));
}

TEST(Choice, TheFirstRuleThatMatchesDecides)
{
    Choice choice(WithRules({{true, "keep.tmp"}, {false, "*.tmp"}, {true, "*"}}));
    EXPECT_FALSE(choice.IsEverything());
    EXPECT_TRUE(choice.Has(u"/x/keep.tmp", false, 0, 0));
    EXPECT_FALSE(choice.Has(u"/x/a.tmp", false, 0, 0));
    EXPECT_TRUE(choice.Has(u"/x/a.txt", false, 0, 0));
}

TEST(Choice, APatternHasNoPrefixes)
{
    Choice choice(WithRules({{false, "- a"}, {false, "!"}}));
    EXPECT_TRUE(choice.Has(u"/a", false, 0, 0));
    EXPECT_FALSE(choice.Has(u"/- a", false, 0, 0));
    EXPECT_FALSE(choice.Has(u"/!", false, 0, 0));
}

TEST(Choice, ARuleForPathsSeesThePathAmongRulesForNames)
{
    Choice choice(WithRules({{false, "a"}, {false, "/x/b"}}));
    EXPECT_FALSE(choice.Has(u"/x/a", false, 0, 0));
    EXPECT_FALSE(choice.Has(u"/x/b", false, 0, 0));
    EXPECT_TRUE(choice.Has(u"/y/b", false, 0, 0));
}

TEST(Choice, NamesAreBytesOfUtf8)
{
    Choice choice(WithRules({{false, "\xC3\xA9?"}, {false, "\xF0\x9F\x98\x80"}}));
    EXPECT_FALSE(choice.Has(u"/\u00E9x", false, 0, 0));
    EXPECT_TRUE(choice.Has(u"/\u00E9\u00E9", false, 0, 0));
    EXPECT_FALSE(choice.Has(u"/\U0001F600", false, 0, 0));
}

TEST(Choice, ANameThatIsNoValidTextIsMatchedAllTheSame)
{
    const std::u16string path = {u'/', u'a', 0xD800};
    Choice choice(WithRules({{false, "a*"}}));
    EXPECT_FALSE(choice.Has(path, false, 0, 0));
}

TEST(Choice, SizesIncludeTheirLimitsAndConcernFilesOnly)
{
    Options options;
    options.minSize = 10;
    options.maxSize = 20;
    Choice choice(options);
    EXPECT_FALSE(choice.IsEverything());
    EXPECT_FALSE(choice.Has(u"/a", false, 9, 0));
    EXPECT_TRUE(choice.Has(u"/a", false, 10, 0));
    EXPECT_TRUE(choice.Has(u"/a", false, 20, 0));
    EXPECT_FALSE(choice.Has(u"/a", false, 21, 0));
    EXPECT_TRUE(choice.Has(u"/a", true, 0, 0));
}

TEST(Choice, ATimeBelongsToWhatIsNewerThanIt)
{
    Options options;
    options.newer = 100;
    options.older = 200;
    Choice choice(options);
    EXPECT_FALSE(choice.Has(u"/a", false, 0, 99));
    EXPECT_TRUE(choice.Has(u"/a", false, 0, 100));
    EXPECT_TRUE(choice.Has(u"/a", false, 0, 199));
    EXPECT_FALSE(choice.Has(u"/a", false, 0, 200));
    EXPECT_TRUE(choice.Has(u"/a", true, 0, 99));
}

TEST(Choice, AFileWithoutADateIsWithinEveryLimitOfIt)
{
    Options options;
    options.newer = 100;
    EXPECT_TRUE(Choice(options).Has(u"/a", false, 0, 0));
}

// What a damaged record says of its size is no reason to leave the file out.
TEST(Choice, ALimitOfDatesLooksAtNoSize)
{
    Options options;
    options.newer = 100;
    EXPECT_TRUE(Choice(options).Has(u"/a", false, -1, UINT64_MAX));
}

}  // namespace
}  // namespace vx
