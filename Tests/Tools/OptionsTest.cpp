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
    EXPECT_EQ(options.unlocking.kind, "none");
    EXPECT_EQ(options.unlocking.secret, "");
    EXPECT_FALSE(options.unlocking.asksSecret);
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
    EXPECT_EQ(options.unlocking.kind, "password");
    EXPECT_EQ(options.unlocking.secret, "--list");
    EXPECT_FALSE(options.unlocking.asksSecret);
}

TEST(Options, ASecretOfADashIsAskedFor)
{
    EXPECT_TRUE(Parsed({"--list", "/v", "--unlock", "password", "-"}).unlocking.asksSecret);
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
    EXPECT_EQ(ErrorOf({"/v"}), "say what to do: --list, --to and a folder, or --raw and a file");
    EXPECT_EQ(ErrorOf({"/v", "--lst"}), "unknown option --lst");
    EXPECT_EQ(ErrorOf({"/v", "--to"}), "--to needs the folder to export to");
    EXPECT_EQ(ErrorOf({"/v", "--to", ""}), "the value of --to is empty");
    EXPECT_EQ(ErrorOf({"/v", "--to", "a", "--to", "b"}), "--to was given twice");
    EXPECT_EQ(ErrorOf({"/v", "--unlock", "none"}), "--unlock needs a kind and a secret");
    EXPECT_EQ(ErrorOf({"/v", "--unlock", "a", "b", "--unlock", "a", "b"}),
              "--unlock was given twice");
    EXPECT_EQ(ErrorOf({"--list", "/v", "--to", "/d"}), "--list, --to and --raw exclude each other");
}

TEST(Options, EachOptionOfListingIsRefusedWithAnExport)
{
    for (const std::string option : {"--recursive", "--json"})
        EXPECT_EQ(ErrorOf({"/v", "--to", "/d", option}), option + " goes with --list only");
}

TEST(Options, EachOptionOfExportingIsRefusedWithAList)
{
    for (const std::string option : {"--streams", "--no-times", "--no-empty-folders", "--resume"})
        EXPECT_EQ(ErrorOf({"/v", "--list", option}), option + " goes with --to only");
    for (const std::string option :
         {"--verify", "--sync", "--dry-run", "--verbose", "--no-space-check"})
        EXPECT_EQ(ErrorOf({"/v", "--list", option}), option + " goes with --to and --raw only");
    for (const std::string option : {"--manifest", "--report", "--write-map"})
        EXPECT_EQ(ErrorOf({"/v", "--list", option, "f"}),
                  option + " goes with --to and --raw only");
}

TEST(Options, EachSwitchOfExportingSetsItsFieldAlone)
{
    const std::pair<const char *, bool Options::*> switches[] = {
        {"--streams", &Options::streams},
        {"--no-times", &Options::noTimes},
        {"--no-empty-folders", &Options::noEmptyFolders},
        {"--verify", &Options::verify},
        {"--resume", &Options::resume},
        {"--sync", &Options::sync},
        {"--dry-run", &Options::dryRun},
        {"--verbose", &Options::verbose},
        {"--no-space-check", &Options::skipsSpaceCheck},
    };
    for (const auto &[given, field] : switches) {
        const Options options = Parsed({"/v", "--to", "/d", given});
        for (const auto &[name, other] : switches)
            EXPECT_EQ(options.*other, other == field) << given << " " << name;
    }
}

TEST(Options, FilesAreTakenAsTheyAreGiven)
{
    const Options options = Parsed({"/v", "--to", "/d", "--manifest", "m", "--report=r", "--map",
                                    "--odd", "--write-map", "w"});
    EXPECT_EQ(options.manifest, "m");
    EXPECT_EQ(options.report, "r");
    EXPECT_EQ(options.map, "--odd");
    EXPECT_EQ(options.writeMap, "w");
}

TEST(Options, TwoOptionsMayNotNameTheSameFile)
{
    EXPECT_EQ(ErrorOf({"/v", "--to", "/d", "--report", "f", "--manifest", "f"}),
              "--manifest and --report are the same file");
    EXPECT_EQ(ErrorOf({"/v", "--to", "/d", "--write-map", "f", "--map", "f"}),
              "--map and --write-map are the same file");
}

TEST(Options, TheRulesKeepTheirOrder)
{
    const Options options =
        Parsed({"--list", "/v", "--exclude", "*.tmp", "--include=-a b", "--exclude", "/x/"});
    ASSERT_EQ(options.rules.size(), 3u);
    EXPECT_FALSE(options.rules[0].includes);
    EXPECT_EQ(options.rules[0].pattern, "*.tmp");
    EXPECT_TRUE(options.rules[1].includes);
    EXPECT_EQ(options.rules[1].pattern, "-a b");
    EXPECT_EQ(options.rules[2].pattern, "/x/");
}

TEST(Options, WhatIsChosenGoesWithBothActions)
{
    for (const std::vector<std::string> &action :
         {std::vector<std::string>{"--list"}, std::vector<std::string>{"--to", "/d"}}) {
        std::vector<std::string> arguments = action;
        arguments.insert(arguments.end(),
                         {"/v", "--min-size", "1", "--max-size=2K", "--newer", "2019-03-02",
                          "--older", "2020-01-01T00:00Z", "--retries", "7", "--skip-slow", "0.5"});
        const Options options = Parsed(arguments);
        EXPECT_EQ(options.minSize, 1);
        EXPECT_EQ(options.maxSize, 2048);
        EXPECT_TRUE(options.newer.has_value());
        EXPECT_EQ(options.older, 132223104000000000u);
        EXPECT_EQ(options.retries, 7u);
        EXPECT_EQ(options.skipSlow, 500u);
    }
}

TEST(Options, AValueOfNoUseIsNamedWithItsForm)
{
    EXPECT_EQ(ErrorOf({"--list", "/v", "--min-size", "1.5G"}),
              "--min-size needs a size such as 4096, 10K, 4M or 2G");
    EXPECT_EQ(ErrorOf({"--list", "/v", "--newer", "2019-02-30"}),
              "--newer needs a time such as 2019-03-02, 2019-03-02T10:00 or 2019-03-02T10:00:00Z");
    EXPECT_EQ(ErrorOf({"--list", "/v", "--retries", "1001"}),
              "--retries needs a number up to 1000");
    for (const char *value : {"0", "0.000", "3600.001", "-1", "1.", ".5", "x"})
        EXPECT_EQ(ErrorOf({"--list", "/v", "--skip-slow", value}),
                  "--skip-slow needs a number of seconds up to 3600, such as 5 or 0.5");
    for (const char *option : {"--include", "--exclude", "--max-size", "--older", "--map"})
        EXPECT_EQ(ErrorOf({"--list", "/v", option, ""}),
                  std::string("the value of ") + option + " is empty");
}

TEST(Options, AValueIsGivenOnce)
{
    EXPECT_EQ(ErrorOf({"--list", "/v", "--older", "2019-01-01", "--older", "2019-01-01"}),
              "--older was given twice");
    EXPECT_EQ(ErrorOf({"/v", "--to", "/d", "--report", "a", "--report", "a"}),
              "--report was given twice");
}

TEST(Options, AChoiceThatNoFileCanMeetIsRefused)
{
    EXPECT_EQ(ErrorOf({"--list", "/v", "--min-size", "2", "--max-size", "1"}),
              "no file can be as large as --min-size and as small as --max-size");
    EXPECT_EQ(Parsed({"--list", "/v", "--min-size", "2", "--max-size", "2"}).maxSize, 2);
    EXPECT_EQ(ErrorOf({"--list", "/v", "--newer", "2019-01-01", "--older", "2019-01-01"}),
              "no file can be as new as --newer and older than --older");
}

TEST(Options, ResumingNeedsSomethingToCompare)
{
    EXPECT_EQ(ErrorOf({"/v", "--to", "/d", "--resume", "--no-times"}),
              "--resume with --no-times needs --manifest: nothing else says what is complete");
    EXPECT_TRUE(Parsed({"/v", "--to", "/d", "--resume", "--no-times", "--manifest", "m"}).resume);
}

TEST(Options, TheVolumeItselfGoesToAFileInsteadOfAFolder)
{
    const Options options = Parsed({"--raw", "a/b.img", "/v", "--verify", "--retries", "2"});
    EXPECT_EQ(options.action, Options::Action::kExport);
    EXPECT_TRUE(options.IsRaw());
    EXPECT_EQ(options.destination, "a");
    EXPECT_EQ(options.RawName(), "b.img");
    EXPECT_EQ(Parsed({"--raw", "b", "/v"}).destination, ".");
    EXPECT_FALSE(Parsed({"--to", "/d", "/v"}).IsRaw());
}

TEST(Options, TheVolumeItselfGoesToNoPipe)
{
    for (const auto &raw : {std::vector<std::string>{"--raw", "-", "/v"}, {"--raw=-", "/v"}})
        EXPECT_EQ(ErrorOf(raw), "--raw writes no pipe: give a file; ./- for one of this name");
    EXPECT_EQ(Parsed({"--raw", "./-", "/v"}).RawName(), "-");
}

TEST(Options, WhatChoosesFilesDoesNotGoWithTheVolumeItself)
{
    const std::vector<std::vector<std::string>> wrong = {{"--list"},
                                                         {"--to", "/d"},
                                                         {"--streams"},
                                                         {"--resume"},
                                                         {"--no-times"},
                                                         {"--include", "*"},
                                                         {"--exclude", "*"},
                                                         {"--min-size", "1"},
                                                         {"--recursive"},
                                                         {"--max-size", "1"},
                                                         {"--newer", "2019-03-02"},
                                                         {"--json"},
                                                         {"--no-empty-folders"},
                                                         {"--older", "2019-03-02"},
                                                         {"/path"},
                                                         {"--manifest", "/f"}};
    for (std::vector<std::string> arguments : wrong) {
        arguments.insert(arguments.begin(), {"--raw", "/f", "/v"});
        std::string error;
        EXPECT_FALSE(ParseOptions(arguments, &error)) << arguments[3];
        EXPECT_NE(error, "") << arguments[3];
    }
}

}  // namespace
}  // namespace vx
