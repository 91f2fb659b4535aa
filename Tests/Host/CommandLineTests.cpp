#include "CommandLine.h"
#include "UsageText.h"

#include <gtest/gtest.h>

namespace {

using vx::ParseCommandLine;

TEST(CommandLineTest, AVolumeAloneIsOpenedWithoutUnlocking)
{
    const auto line = ParseCommandLine({"disk"});
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.options.volume, "disk");
    EXPECT_EQ(line.options.unlocking.kind, "none");
    EXPECT_EQ(line.options.unlocking.secret, "");
    EXPECT_FALSE(line.options.unlocking.asksSecret);
    EXPECT_FALSE(line.options.sendCode);
}

TEST(CommandLineTest, KindAndSecretFollowTheVolume)
{
    const auto line = ParseCommandLine({"disk", "password", "open sesame"});
    EXPECT_EQ(line.options.unlocking.kind, "password");
    EXPECT_EQ(line.options.unlocking.secret, "open sesame");
    EXPECT_FALSE(line.options.unlocking.asksSecret);
}

TEST(CommandLineTest, UnlockNamesTheSameAsTwoMoreWords)
{
    const auto line = ParseCommandLine({"--unlock", "password", "open sesame", "disk"});
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.options.volume, "disk");
    EXPECT_EQ(line.options.unlocking.kind, "password");
    EXPECT_EQ(line.options.unlocking.secret, "open sesame");
    EXPECT_TRUE(
        ParseCommandLine({"disk", "--unlock", "password", "-"}).options.unlocking.asksSecret);
    EXPECT_NE(ParseCommandLine({"disk", "none", "--unlock", "password", "-"}).error, "");
}

TEST(CommandLineTest, VersionNeedsNoVolume)
{
    const auto line = ParseCommandLine({"--version", "--nonsense"});
    EXPECT_EQ(line.error, "");
    EXPECT_TRUE(line.options.version);
}

TEST(CommandLineTest, ADashForTheSecretAsksForIt)
{
    const auto line = ParseCommandLine({"disk", "password", "-"});
    EXPECT_EQ(line.error, "");
    EXPECT_TRUE(line.options.unlocking.asksSecret);
    EXPECT_EQ(line.options.unlocking.secret, "");
}

TEST(CommandLineTest, OptionsMayStandAnywhere)
{
    const auto line = ParseCommandLine({"disk", "--send", "7", "--explorer", "/x/y", "kind"});
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.options.sendCode, 7u);
    EXPECT_EQ(line.options.explorer, "/x/y");
    EXPECT_EQ(line.options.unlocking.kind, "kind");
}

TEST(CommandLineTest, AfterTwoDashesNothingIsAnOption)
{
    const auto line = ParseCommandLine({"--", "disk", "password", "--send"});
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.options.unlocking.secret, "--send");
}

TEST(CommandLineTest, HelpNeedsNoVolume)
{
    const auto line = ParseCommandLine({"--help"});
    EXPECT_EQ(line.error, "");
    EXPECT_TRUE(line.options.help);
}

TEST(CommandLineTest, ACodeIsAnyNumberOf32Bits)
{
    EXPECT_EQ(ParseCommandLine({"d", "--send", "0"}).options.sendCode, 0u);
    EXPECT_EQ(ParseCommandLine({"d", "--send", "4294967295"}).options.sendCode, 4294967295u);
}

TEST(CommandLineTest, WrongUseIsOneClearLine)
{
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"--send", "1"},
        {"a", "b", "c", "d"},
        {"a", "--what"},
        {"a", "-x"},
        {"a", "--send"},
        {"a", "--send", "x"},
        {"a", "--send", "-1"},
        {"a", "--send", ""},
        {"a", "--send", "4294967296"},
        {"a", "--send", "99999999999999999999"},
        {"a", "--explorer"},
        {"a", "--explorer", ""},
    };
    for (const auto &arguments : wrong) {
        const std::string error = ParseCommandLine(arguments).error;
        EXPECT_NE(error, "") << testing::PrintToString(arguments);
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
}

TEST(CommandLineTest, TheHelpNamesEveryExitStatusAndWarnsAboutSecrets)
{
    const std::string help = vx::kHelpText;
    for (const char *text : {"  0 ", "  1 ", "  2 ", "  3 ", "  4 ", "  5 ", "  6 ", "128+N",
                             "shell's history", "list of processes"})
        EXPECT_NE(help.find(text), std::string::npos) << text;
}

}  // namespace
