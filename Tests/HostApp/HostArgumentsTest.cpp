// The command line of Volume Host.
#include "HostArguments.h"

#include <gtest/gtest.h>

namespace {

vx::HostArguments Parse(const std::vector<std::string> &words)
{
    return vx::ParseHostArguments(words);
}

TEST(HostArguments, TheOnlyWordIsTheImage)
{
    EXPECT_EQ(Parse({}).image, "");
    EXPECT_EQ(Parse({"", "a.img"}).image, "a.img");
    EXPECT_EQ(Parse({"a.img", "b.img"}).error, "there is one argument too many: b.img");
}

TEST(HostArguments, AfterTwoHyphensAnImageMayBeginWithOne)
{
    EXPECT_EQ(Parse({"--", "-disk.img"}).image, "-disk.img");
    EXPECT_EQ(Parse({"--", "--help"}).image, "--help");
    EXPECT_FALSE(Parse({"--", "--help"}).help);
}

TEST(HostArguments, ASettingTakesTheNextWordAndOptionsOfTheSystemTakeNone)
{
    EXPECT_EQ(Parse({"-NSLanguages", "(de)", "a.img"}).image, "a.img");
    EXPECT_EQ(Parse({"--GNU-Debug=dflt", "a.img"}).image, "a.img");
    EXPECT_EQ(Parse({"-psn_0_4711", "a.img"}).image, "a.img");
    EXPECT_EQ(Parse({"-NSLanguages"}).error, "");
}

TEST(HostArguments, HelpAndVersionWinOverWhatFollowsAndOtherOptionsAreWrongUse)
{
    EXPECT_TRUE(Parse({"--help", "a", "b"}).help);
    EXPECT_TRUE(Parse({"-h"}).help);
    EXPECT_TRUE(Parse({"--version", "--help"}).version);
    EXPECT_FALSE(Parse({"--version", "--help"}).help);
    EXPECT_EQ(Parse({"--nonsense"}).error, "unknown option --nonsense");
}

}  // namespace
