// The texts of the progress window at every boundary.
#import "ProgressText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The table's format for a key; a missing key fails the test.
NSString *Format(NSString *key)
{
    NSString *found = [[NSBundle mainBundle] localizedStringForKey:key value:@"" table:nil];
    EXPECT_FALSE([found isEqualToString:key]) << [key UTF8String];
    return found;
}

std::string Utf8(NSString *text)
{
    return [text UTF8String];
}

std::string Calculating(double copied, double total)
{
    return Utf8([NSString stringWithFormat:Format(@"IDS_COPY_TIPS_CALCULATE"), copied, total]);
}

std::string LessThanAMinute(double copied, double total)
{
    return Utf8([NSString stringWithFormat:Format(@"IDS_COPY_TIPS_LESS_1MIN"), copied, total]);
}

std::string Minutes(int count, double copied, double total)
{
    return Utf8(
        [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_ABOVE_1MIN"), count, copied, total]);
}

std::string Progress(double percent, int64_t elapsed, double total = 200)
{
    return Utf8(ProgressLineText(percent, elapsed, total));
}

NSString *PathOf(size_t length)
{
    std::string path = "/";
    while (path.size() < length)
        path += char('a' + path.size() % 26);
    return [NSString stringWithUTF8String:path.c_str()];
}

TEST(ProgressText, APathOfExactly20CharactersIsShownWhole)
{
    EXPECT_EQ(
        Utf8(FileLineText(PathOf(20))),
        Utf8([NSString stringWithFormat:Format(@"IDS_COPY_TIPS_SHORT_FILENAME"), PathOf(20)]));
}

TEST(ProgressText, APathOf21CharactersShowsCharacters1To9And12To21)
{
    NSString *path = PathOf(21);
    EXPECT_EQ(Utf8(FileLineText(path)),
              Utf8([NSString stringWithFormat:Format(@"IDS_COPY_TIPS_LONG_FILENAME"),
                                              [path substringWithRange:NSMakeRange(0, 9)],
                                              [path substringWithRange:NSMakeRange(11, 10)]]));
}

TEST(ProgressText, CharactersAreCountedInUtf16Units)
{
    // 19 letters and one character outside the basic plane are 21 units.
    NSString *path = [PathOf(19) stringByAppendingString:@"😀"];
    EXPECT_EQ([path length], 21u);
    EXPECT_NE(Utf8(FileLineText(path)),
              Utf8([NSString stringWithFormat:Format(@"IDS_COPY_TIPS_SHORT_FILENAME"), path]));
}

TEST(ProgressText, APercentSignInAPathIsShownAsItIs)
{
    EXPECT_NE(Utf8(FileLineText(@"/100%@%d.txt")).find("/100%@%d.txt"), std::string::npos);
}

TEST(ProgressText, Percent0GivesTheCalculatingTextWith0MiBCopied)
{
    EXPECT_EQ(Progress(0, 100), Calculating(0, 200));
}

TEST(ProgressText, APercentBelow1IsCalculatingAndOf1IsNot)
{
    EXPECT_EQ(Progress(0.99, 100), Calculating(200 * 0.99 / 100, 200));
    EXPECT_EQ(Progress(-5, 100), Calculating(-10, 200));
    EXPECT_EQ(Progress(1, 0), LessThanAMinute(2, 200));
}

TEST(ProgressText, At25PercentAfter20SecondsTheEstimateIs60SecondsWhichIsLessThanAMinute)
{
    EXPECT_EQ(Progress(25, 20), LessThanAMinute(50, 200));
}

TEST(ProgressText, At10PercentAfter10SecondsTheEstimateIs90SecondsWhichIs1Minute)
{
    EXPECT_EQ(Progress(10, 10), Minutes(1, 20, 200));
}

TEST(ProgressText, AnEstimateOf119SecondsShows1MinuteAndOf120Shows2)
{
    EXPECT_EQ(Progress(50, 119), Minutes(1, 100, 200));
    EXPECT_EQ(Progress(50, 120), Minutes(2, 100, 200));
}

TEST(ProgressText, AnEstimateJustAbove60SecondsShows1Minute)
{
    EXPECT_EQ(Progress(50, 60), LessThanAMinute(100, 200));
    EXPECT_EQ(Progress(50, 61), Minutes(1, 100, 200));
}

TEST(ProgressText, AbovePercent100NothingRemains)
{
    EXPECT_EQ(Progress(100, 1000), LessThanAMinute(200, 200));
    EXPECT_EQ(Progress(150, 1000), LessThanAMinute(300, 200));
}

TEST(ProgressText, AClockThatWasSetBackLeavesNoEstimateAboveAMinute)
{
    EXPECT_EQ(Progress(10, -1000), LessThanAMinute(20, 200));
}

}  // namespace
