// The texts of the progress window at every boundary.
#import "ProgressText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The table's format for a key; a missing key fails the test.
NSString *format(NSString *key)
{
    NSString *found = [[NSBundle mainBundle] localizedStringForKey:key value:@"" table:nil];
    EXPECT_FALSE([found isEqualToString:key]) << [key UTF8String];
    return found;
}

std::string utf8(NSString *text)
{
    return [text UTF8String];
}

std::string calculating(double copied, double total)
{
    return utf8([NSString stringWithFormat:format(@"IDS_COPY_TIPS_CALCULATE"), copied, total]);
}

std::string lessThanAMinute(double copied, double total)
{
    return utf8([NSString stringWithFormat:format(@"IDS_COPY_TIPS_LESS_1MIN"), copied, total]);
}

std::string minutes(int count, double copied, double total)
{
    return utf8(
        [NSString stringWithFormat:format(@"IDS_COPY_TIPS_ABOVE_1MIN"), count, copied, total]);
}

std::string progress(double percent, int64_t elapsed, double total = 200)
{
    return utf8(ProgressLineText(percent, elapsed, total));
}

NSString *pathOf(size_t length)
{
    std::string path = "/";
    while (path.size() < length)
        path += char('a' + path.size() % 26);
    return [NSString stringWithUTF8String:path.c_str()];
}

TEST(ProgressText, APathOfExactly20CharactersIsShownWhole)
{
    EXPECT_EQ(
        utf8(FileLineText(pathOf(20))),
        utf8([NSString stringWithFormat:format(@"IDS_COPY_TIPS_SHORT_FILENAME"), pathOf(20)]));
}

TEST(ProgressText, APathOf21CharactersShowsCharacters1To9And12To21)
{
    NSString *path = pathOf(21);
    EXPECT_EQ(utf8(FileLineText(path)),
              utf8([NSString stringWithFormat:format(@"IDS_COPY_TIPS_LONG_FILENAME"),
                                              [path substringWithRange:NSMakeRange(0, 9)],
                                              [path substringWithRange:NSMakeRange(11, 10)]]));
}

TEST(ProgressText, CharactersAreCountedInUtf16Units)
{
    // 19 letters and one character outside the basic plane are 21 units.
    NSString *path = [pathOf(19) stringByAppendingString:@"😀"];
    EXPECT_EQ([path length], 21u);
    EXPECT_NE(utf8(FileLineText(path)),
              utf8([NSString stringWithFormat:format(@"IDS_COPY_TIPS_SHORT_FILENAME"), path]));
}

TEST(ProgressText, APercentSignInAPathIsShownAsItIs)
{
    EXPECT_NE(utf8(FileLineText(@"/100%@%d.txt")).find("/100%@%d.txt"), std::string::npos);
}

TEST(ProgressText, Percent0GivesTheCalculatingTextWith0MiBCopied)
{
    EXPECT_EQ(progress(0, 100), calculating(0, 200));
}

TEST(ProgressText, APercentBelow1IsCalculatingAndOf1IsNot)
{
    EXPECT_EQ(progress(0.99, 100), calculating(200 * 0.99 / 100, 200));
    EXPECT_EQ(progress(-5, 100), calculating(-10, 200));
    EXPECT_EQ(progress(1, 0), lessThanAMinute(2, 200));
}

TEST(ProgressText, At25PercentAfter20SecondsTheEstimateIs60SecondsWhichIsLessThanAMinute)
{
    EXPECT_EQ(progress(25, 20), lessThanAMinute(50, 200));
}

TEST(ProgressText, At10PercentAfter10SecondsTheEstimateIs90SecondsWhichIs1Minute)
{
    EXPECT_EQ(progress(10, 10), minutes(1, 20, 200));
}

TEST(ProgressText, AnEstimateOf119SecondsShows1MinuteAndOf120Shows2)
{
    EXPECT_EQ(progress(50, 119), minutes(1, 100, 200));
    EXPECT_EQ(progress(50, 120), minutes(2, 100, 200));
}

TEST(ProgressText, AnEstimateJustAbove60SecondsShows1Minute)
{
    EXPECT_EQ(progress(50, 60), lessThanAMinute(100, 200));
    EXPECT_EQ(progress(50, 61), minutes(1, 100, 200));
}

TEST(ProgressText, AbovePercent100NothingRemains)
{
    EXPECT_EQ(progress(100, 1000), lessThanAMinute(200, 200));
    EXPECT_EQ(progress(150, 1000), lessThanAMinute(300, 200));
}

TEST(ProgressText, AClockThatWasSetBackLeavesNoEstimateAboveAMinute)
{
    EXPECT_EQ(progress(10, -1000), lessThanAMinute(20, 200));
}

}  // namespace
