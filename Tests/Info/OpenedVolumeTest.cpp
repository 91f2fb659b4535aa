// What is shown once a secret is given.
#include "InfoFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kSecret[] = "s3cret w\u00f6rd";
constexpr char kRecoveryPassword[] = "111111-222222-333333-444444-555555-666666-111111-222222";

class OpenedVolume : public InfoTest {
protected:
    Result Open(const std::string &disk, const Arguments &more = {})
    {
        Arguments arguments = {disk, "--unlock", "password", kSecret};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }
};

TEST_F(OpenedVolume, TheFileSystemFollowsTheDescription)
{
    const Result result = Open("system disk");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, StartsWith("system disk\n  Kind"));
    EXPECT_THAT(result.output, HasSubstr(R"(
Opened
  Unlocked by    password, Key ID 1A2B3C4D
  File system    NTFS 3.1, clusters of 4,096 bytes
  Label          "Data\x1b[2J"
  Serial number  1A2B-3C4D
  State          it was not taken off in order: what was written last may be missing
  Size           40.0 GiB (42,949,672,960 bytes), of which 12.0 GiB are free
)"));
    EXPECT_THAT(result.output, Not(HasSubstr("Recovery passwords")));
    EXPECT_THAT(result.output, Not(HasSubstr(kRecoveryPassword)));
}

TEST_F(OpenedVolume, RecoveryPasswordsAreShownOnlyIfAskedFor)
{
    const Result result = Open("system disk", {"--show-recovery-password"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr(std::string("\nRecovery passwords\n  Key ID 5E6F7A8B  ") +
                                         kRecoveryPassword +
                                         "\n  Identifier "
                                         "5E6F7A8B-1111-2222-3333-444455556666\n"));
    EXPECT_THAT(result.errors, Not(HasSubstr(kRecoveryPassword)));
}

TEST_F(OpenedVolume, WithoutAnUnlockRecoveryPasswordsAreWrongUse)
{
    const Result result = Run({"system disk", "--show-recovery-password"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("volume-info: --show-recovery-password needs --unlock"));
}

TEST_F(OpenedVolume, ASuspendedVolumeShowsItsRecoveryPasswordsWithoutASecret)
{
    const Result result = Run({"stick", "--show-recovery-password"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr(kRecoveryPassword));
}

TEST_F(OpenedVolume, TheKeyOfTheSectorsDoesNotLeadToRecoveryPasswords)
{
    const Result result =
        Run({"system disk", "--unlock", "fvek", "00ff", "--show-recovery-password"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("Unlocked by    fvek\n"));
    EXPECT_THAT(result.errors, HasSubstr("cannot be read with the key of its sectors"));
}

TEST_F(OpenedVolume, AWrongSecretLeavesTheDescriptionAndIsNeverRepeated)
{
    const Result result = Run({"system disk", "--unlock", "password", "hidden"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.output, HasSubstr("Encrypted volume 2"));
    EXPECT_THAT(result.output, Not(HasSubstr("Opened")));
    EXPECT_THAT(result.errors, HasSubstr("volume-info: cannot open system disk: "));
    EXPECT_THAT(result.errors, HasSubstr("tried on the password 1A2B3C4D (status 22)\n"));
    EXPECT_THAT(result.output + result.errors, Not(HasSubstr("hidden")));
}

TEST_F(OpenedVolume, AnUnlockedVolumeWithoutAReadableFileSystemStillShowsItsRecoveryPasswords)
{
    const Result result = Open("tpm", {"--show-recovery-password"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.output, HasSubstr("Unlocked by    password, Key ID 1A2B3C4D\n"));
    EXPECT_THAT(result.output, Not(HasSubstr("File system")));
    EXPECT_THAT(result.output, HasSubstr(kRecoveryPassword));
    EXPECT_THAT(result.errors, HasSubstr("the file system of the volume is damaged (status 30)"));
}

TEST_F(OpenedVolume, TheSecretIsAskedForAfterTheDescription)
{
    ToolRun::Settings terminal;
    terminal.onTerminal = true;
    ToolRun run(ProgramWith(VX_STAND_IN), {"system disk", "--unlock", "password", "-"}, terminal);
    run.AwaitText("Secret (password) for system disk: ");
    EXPECT_THAT(run.Output(), HasSubstr("Opens with"));
    EXPECT_FALSE(run.Echoes());
    run.Type(std::string(kSecret) + "\n");
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_THAT(run.Output(), HasSubstr("Unlocked by"));
    EXPECT_THAT(run.Output(), Not(HasSubstr("s3cret")));
}

TEST_F(OpenedVolume, TheSecretCanComeFromAFile)
{
    const std::string file = _folder.WriteFile("secret", std::string(kSecret) + "\n");
    const Result result = Run({"system disk", "--unlock", "password", "@" + file});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("Unlocked by"));
}

TEST_F(OpenedVolume, NoSecretAtAllIsWrongUse)
{
    const Result result = Run({"system disk", "--unlock", "password", "-"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.errors, HasSubstr("volume-info: no secret was given\n"));
}

TEST_F(OpenedVolume, ALongOpeningShowsItsProgress)
{
    const std::string stall = _folder.MakeFolder("stall");
    mkfifo((stall + "/opening").c_str(), 0600);
    ToolRun::Settings terminal;
    terminal.onTerminal = true;
    ToolRun run(ProgramWith(VX_STAND_IN), {"system disk", "--unlock", "stall", stall}, terminal);
    run.AwaitText("Trying keys: 0 of 400");
    close(open((stall + "/opening").c_str(), O_RDONLY));
    run.Type("\x03");
    EXPECT_EQ(run.Wait(), -SIGINT);
}

TEST_F(OpenedVolume, ASecretOnTheCommandLineIsOverwrittenBeforeTheVolumeIsOpened)
{
    const std::string stall = _folder.MakeFolder("the-secret-word");
    mkfifo((stall + "/opening").c_str(), 0600);
    ToolRun run(ProgramWith(VX_STAND_IN), {"system disk", "--unlock", "stall", stall});
    close(open((stall + "/opening").c_str(), O_RDONLY));
    ToolRun list("/bin/ps", {"-ww", "-o", "args=", "-p", std::to_string(run.Process())});
    EXPECT_EQ(list.Wait(), 0);
    EXPECT_THAT(list.Output(), HasSubstr("--unlock stall ***"));
    EXPECT_THAT(list.Output(), Not(HasSubstr("the-secret-word")));
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), -SIGINT);
}

TEST_F(OpenedVolume, CtrlCCancelsTheOpening)
{
    const std::string stall = _folder.MakeFolder("stall");
    mkfifo((stall + "/opening").c_str(), 0600);
    ToolRun run(ProgramWith(VX_STAND_IN), {"system disk", "--unlock", "stall", stall});
    close(open((stall + "/opening").c_str(), O_RDONLY));
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), -SIGINT);
    EXPECT_THAT(run.Output(), Not(HasSubstr("Opened")));
}

}  // namespace
}  // namespace vx
