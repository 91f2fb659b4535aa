// Secrets that are given to the program in another place than its command line.
#include "Eventually.h"
#include "ToolFixture.h"
#include "UniqueFd.h"

#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

const std::string kSecret = "s3cret w\xc3\xb6rd";

class SecretSource : public ToolTest {
protected:
    // A stand-in that opens with the secret only. The words come after "--unlock password".
    Result List(const std::string &secret, const ToolRun::Settings &settings = {})
    {
        return RunWith(kStandIn, {"--list", "locked", "--unlock", "password", secret}, settings);
    }

    // The program as a shell runs it, so that it can inherit a descriptor.
    Result Shell(const std::string &secret, const std::string &redirection)
    {
        ToolRun run("/bin/sh", {"-c", "exec \"$@\" " + redirection, "sh", CopyOfTool(kStandIn),
                                "--list", "locked", "--unlock", "password", secret});
        const int status = run.Wait();
        return {status, run.Output(), run.Errors()};
    }
};

TEST_F(SecretSource, AFileBringsTheSecret)
{
    const std::string file = _folder.WriteFile("secret", kSecret + "\nmore\n");
    EXPECT_EQ(List("@" + file).status, 0);
    _folder.WriteFile("secret", "wrong\n");
    EXPECT_EQ(List("@" + file).status, 3);
}

TEST_F(SecretSource, AFileThatCannotBeReadIsReportedBeforeTheVolumeIsOpened)
{
    const Result result = List("@" + _folder.At("missing"));
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.errors, "volume-export: the file of the secret, named after \"@\", "
                                     "cannot be read: No such file or directory"));
    EXPECT_TRUE(Holds(result.errors, "typed after \"-\", or given by fd:N"));
    EXPECT_TRUE(Lacks(result.errors, "missing"));
}

TEST_F(SecretSource, AnInheritedDescriptorBringsTheSecret)
{
    const std::string file = _folder.WriteFile("secret", kSecret + "\n");
    EXPECT_EQ(Shell("fd:5", "5<'" + file + "'").status, 0);
    EXPECT_EQ(Shell("fd:0", "<'" + file + "'").status, 0);
}

TEST_F(SecretSource, ADescriptorThatIsNotOpenIsAMistakeOfTheCommandLine)
{
    const Result result = Shell("fd:5", "5<&-");
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.errors, "volume-export: descriptor 5 is not open\nUsage: "));
}

TEST_F(SecretSource, AWriterThatStallsIsNotWaitedForAfterCtrlC)
{
    const std::string fifo = _folder.At("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string tool = CopyOfTool(kStandIn);
    for (const std::string &word : {"@" + fifo, std::string("fd:5")}) {
        const std::string redirection = word == "fd:5" ? "5<'" + fifo + "'" : "";
        ToolRun run("/bin/sh", {"-c", "exec \"$@\" " + redirection, "sh", tool, "--list", "locked",
                                "--unlock", "password", word});
        const UniqueFd writing(open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(write(writing.Get(), "half", 4), 4);
        int unread = 0;
        ASSERT_TRUE(Eventually(
            [&] { return ioctl(writing.Get(), FIONREAD, &unread) == 0 && unread == 0; }));
        run.Send(SIGINT);
        EXPECT_EQ(run.Wait(), -SIGINT) << word;
    }
}

TEST_F(SecretSource, AFileOfASecretIsNotReplacedByAHashList)
{
    const std::string file = _folder.WriteFile("secret", kSecret + "\n");
    const Result result = RunWith(kStandIn, {"--to", _destination, "--manifest", file, "locked",
                                             "--unlock", "password", "@" + file});
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.errors, "this export reads it"));
    EXPECT_EQ(_folder.ReadFile("secret"), kSecret + "\n");
}

TEST_F(SecretSource, AKeyFileThatAFileNamesIsNotReplacedByAHashList)
{
    const std::string key = _folder.WriteFile("k.BEK", "a key");
    const std::string file = _folder.WriteFile("secret", key + "\n");
    const Result result = RunWith(kStandIn, {"--to", _destination, "--manifest", key, "locked",
                                             "--unlock", "startup-key", "@" + file});
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(Holds(result.errors, "this export reads it"));
    EXPECT_EQ(_folder.ReadFile("k.BEK"), "a key");
}

}  // namespace
}  // namespace vx
