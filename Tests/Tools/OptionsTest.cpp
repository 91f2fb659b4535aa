#include "Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vx {
namespace {

using ::testing::ElementsAre;

std::string ErrorOf(const std::vector<std::string> &arguments)
{
    std::string error;
    const auto options = ParseOptions(arguments, &error);
    EXPECT_FALSE(options.has_value());
    return error;
}

Options Parsed(const std::vector<std::string> &arguments)
{
    std::string error;
    const auto options = ParseOptions(arguments, &error);
    EXPECT_TRUE(options.has_value()) << error;
    return options.value_or(Options());
}

TEST(Options, AListOfTheRootNeedsOnlyTheVolume)
{
    const Options options = Parsed({"--list", "/v"});
    EXPECT_EQ(options.action, Options::Action::kList);
    EXPECT_EQ(options.volume, "/v");
    EXPECT_TRUE(options.paths.empty());
}

TEST(Options, WithoutUnlockTheKindIsNoneAndTheSecretEmpty)
{
    const Options options = Parsed({"--list", "/v"});
    EXPECT_EQ(options.unlockKind, "none");
    EXPECT_EQ(options.secret, "");
    EXPECT_FALSE(options.asksSecret);
}

TEST(Options, OptionsMayStandAnywhere)
{
    const Options options = Parsed({"/v", "/a", "--to", "/d", "--verify", "/b", "--verbose"});
    EXPECT_EQ(options.action, Options::Action::kExport);
    EXPECT_EQ(options.destination, "/d");
    EXPECT_TRUE(options.verify);
    EXPECT_TRUE(options.verbose);
    EXPECT_FALSE(options.skipsSpaceCheck);
    EXPECT_TRUE(Parsed({"/v", "--to", "/d", "--no-space-check"}).skipsSpaceCheck);
    EXPECT_THAT(options.paths, ElementsAre("/a", "/b"));
}

TEST(Options, UnlockTakesAKindAndASecretOfAnyForm)
{
    const Options options = Parsed({"--list", "/v", "--unlock", "password", "--list"});
    EXPECT_EQ(options.unlockKind, "password");
    EXPECT_EQ(options.secret, "--list");
    EXPECT_FALSE(options.asksSecret);
}

TEST(Options, ASecretOfADashIsAskedFor)
{
    EXPECT_TRUE(Parsed({"--list", "/v", "--unlock", "password", "-"}).asksSecret);
}

TEST(Options, AfterTwoDashesEverythingIsAPath)
{
    const Options options = Parsed({"--list", "--", "--v", "--json"});
    EXPECT_EQ(options.volume, "--v");
    EXPECT_THAT(options.paths, ElementsAre("--json"));
    EXPECT_FALSE(options.json);
}

TEST(Options, HelpAndVersionWinOverWhatFollows)
{
    EXPECT_EQ(Parsed({"--help", "--nonsense"}).action, Options::Action::kHelp);
    EXPECT_EQ(Parsed({"--version", "--nonsense"}).action, Options::Action::kVersion);
}

TEST(Options, EachMistakeIsNamed)
{
    EXPECT_EQ(ErrorOf({}), "VOLUME is missing");
    EXPECT_EQ(ErrorOf({"--list"}), "VOLUME is missing");
    EXPECT_EQ(ErrorOf({"--list", ""}), "VOLUME is empty");
    EXPECT_EQ(ErrorOf({"/v"}), "say what to do: --list, or --to and a folder");
    EXPECT_EQ(ErrorOf({"/v", "--lst"}), "unknown option --lst");
    EXPECT_EQ(ErrorOf({"/v", "--to"}), "--to needs the folder to export to");
    EXPECT_EQ(ErrorOf({"/v", "--to", ""}), "the folder after --to is empty");
    EXPECT_EQ(ErrorOf({"/v", "--to", "a", "--to", "b"}), "--to was given twice");
    EXPECT_EQ(ErrorOf({"/v", "--unlock", "none"}), "--unlock needs a kind and a secret");
    EXPECT_EQ(ErrorOf({"/v", "--unlock", "a", "b", "--unlock", "a", "b"}),
              "--unlock was given twice");
    EXPECT_EQ(ErrorOf({"--list", "/v", "--to", "/d"}), "--list and --to exclude each other");
    EXPECT_EQ(ErrorOf({"/v", "--to", "/d", "--json"}),
              "--recursive and --json go with --list only");
    EXPECT_EQ(ErrorOf({"/v", "--list", "--verify"}), "--verify and --verbose go with --to only");
    EXPECT_EQ(ErrorOf({"/v", "--list", "--no-space-check"}),
              "--no-space-check goes with --to only");
}

}  // namespace
}  // namespace vx
