#include "InfoFixture.h"

#include "InfoOptions.h"

namespace vx {
namespace {

using ::testing::StartsWith;
using Action = InfoOptions::Action;

std::string ErrorOf(const std::vector<std::string> &arguments)
{
    std::string error;
    EXPECT_FALSE(ParseInfoOptions(arguments, &error));
    return error;
}

InfoOptions OptionsOf(const std::vector<std::string> &arguments)
{
    std::string error;
    const auto options = ParseInfoOptions(arguments, &error);
    EXPECT_TRUE(options) << error;
    return options.value_or(InfoOptions());
}

TEST(InfoOptions, AVolumeAloneIsDescribed)
{
    const InfoOptions options = OptionsOf({"disk"});
    EXPECT_EQ(options.action, Action::kDescribe);
    EXPECT_EQ(options.volume, "disk");
    EXPECT_FALSE(options.opens);
    EXPECT_FALSE(options.json);
    EXPECT_FALSE(options.showsRecoveryPasswords);
}

TEST(InfoOptions, OptionsStandBeforeAndAfterTheVolume)
{
    const InfoOptions options =
        OptionsOf({"--json", "disk", "--unlock", "password", "-x", "--show-recovery-password"});
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.opens);
    EXPECT_EQ(options.unlocking.kind, "password");
    EXPECT_EQ(options.unlocking.secret, "-x");
    EXPECT_TRUE(options.showsRecoveryPasswords);
    EXPECT_EQ(OptionsOf({"--", "--json"}).volume, "--json");
}

TEST(InfoOptions, ASearchTakesNoSecret)
{
    EXPECT_EQ(OptionsOf({"--search", "disk"}).action, Action::kSearch);
    EXPECT_THAT(ErrorOf({"--search", "disk", "--unlock", "password", "x"}),
                StartsWith("--search needs no --unlock"));
    EXPECT_THAT(ErrorOf({"--search", "disk", "--show-recovery-password"}),
                StartsWith("--show-recovery-password does not go with --search"));
}

TEST(InfoOptions, ExactlyOneVolumeIsNeeded)
{
    EXPECT_EQ(ErrorOf({}), "a volume is missing");
    EXPECT_EQ(ErrorOf({"--json"}), "a volume is missing");
    EXPECT_EQ(ErrorOf({"a", "b"}), "there is one argument too many: b");
}

TEST(InfoOptions, HelpAndVersionWinOverWhatFollows)
{
    EXPECT_EQ(OptionsOf({"--help", "a", "b"}).action, Action::kHelp);
    EXPECT_EQ(OptionsOf({"--version"}).action, Action::kVersion);
}

class InfoUse : public InfoTest {};

TEST_F(InfoUse, AWrongCommandLineGivesOneLineTheUsageAndStatus2)
{
    const Result result = Run({"--nonsense\x1b"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("volume-info: unknown option --nonsense\\x1b\nUsage: "));
}

TEST_F(InfoUse, AMissingLibraryIsNamedWithItsPath)
{
    const Result result = RunWith("", {"disk"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors,
                StartsWith("volume-info: the volume library is missing or does not load: " +
                           _folder.At("programs/libBitLockerWapper.dylib")));
}

TEST_F(InfoUse, AnOlderLibraryIsNamedAsTheReason)
{
    for (const Arguments &arguments : {Arguments{"case"}, Arguments{"--search", "case"}}) {
        const Result result = RunWith(VX_OLDER_LIBRARY, arguments);
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.errors,
                    StartsWith("volume-info: the volume library is another version"));
    }
}

TEST_F(InfoUse, ALinkToTheProgramFindsTheSameLibrary)
{
    ProgramWith(VX_STAND_IN);
    const std::string link = _folder.MakeLink("commands/volume-info", "../programs/volume-info");
    ToolRun run(link, {"stick"});
    EXPECT_EQ(run.Wait(), 0) << run.Errors();
}

TEST_F(InfoUse, AReportThatCannotBeWrittenIsAFailure)
{
    const std::string program = ProgramWith(VX_STAND_IN);
    ToolRun run("/bin/sh", {"-c", "exec \"$0\" stick >/dev/full", program});
    EXPECT_EQ(run.Wait(), 1);
    EXPECT_THAT(run.Errors(), StartsWith("volume-info: cannot write the report: "));
}

}  // namespace
}  // namespace vx
