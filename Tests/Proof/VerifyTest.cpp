// Copies that are not what was written to them are noticed.
#include "ProofFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class Verify : public ProofTest {
protected:
    Verify()
    {
        AddFile("good.txt", "good");
        AddFile("sub/bad.bin", std::string(3 << 20, 'b'));
        AddFile("sub/last.txt", "last");
    }

    Arguments Liar(const std::string &lie) const
    {
        return {"LD_PRELOAD=" VX_LYING_DISK,
                "VX_LIE=" + lie,
                "VX_LIAR=" + _to,
                "VX_LIAR_NAME=bad.bin",
                "VX_STALL=" + _folder.Path(),
                "ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0"};
    }

    Result ExportOntoLiar(const std::string &lie, Arguments more) const
    {
        more.emplace_back("--verify");
        return ExportWith(Liar(lie), _to, more);
    }

    static void ExpectOneFailure(const Result &result)
    {
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.output.find("Failed: 1\n  /sub/bad.bin: its copy is not what was written "
                                     "to it: its SHA-256 is "),
                  std::string::npos)
            << result.output;
        EXPECT_NE(result.output.find("Exported 2 files"), std::string::npos) << result.output;
    }
};

TEST_F(Verify, AByteThatTheDiskChangesIsAFailureThatNamesTheFile)
{
    ExpectOneFailure(ExportOntoLiar("read", {}));
}

TEST_F(Verify, AWriteThatTheDiskLosesIsAFailureThatNamesTheFile)
{
    ExpectOneFailure(ExportOntoLiar("write", {}));
}

// The list has the hash of what was to arrive, so that a later check finds the same.
TEST_F(Verify, TheListOfALyingDiskDoesNotMatchIt)
{
    ExpectOneFailure(ExportOntoLiar("write", {"--manifest", _list}));
    const Result check = Shell(_to, "sha256sum --check --quiet ../list");
    EXPECT_EQ(check.status, 1);
    EXPECT_EQ(check.output, "sub/bad.bin: FAILED\n");
}

TEST_F(Verify, WithoutALieEverythingIsRead)
{
    const Result result = Export(_to, {"--verify"});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_NE(result.output.find("Read again from the destination and compared in "),
              std::string::npos)
        << result.output;
}

TEST_F(Verify, CtrlCEndsTheReadingAndNamesWhatWasNotRead)
{
    ASSERT_EQ(mkfifo(_folder.At("stalled").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(_folder.At("release").c_str(), 0600), 0);
    Arguments arguments = Liar("stall");
    for (const std::string &argument :
         {std::string(VX_TOOL), std::string("--to"), _to, _volume, std::string("--verify")})
        arguments.push_back(argument);
    ToolRun run("/usr/bin/env", arguments);
    close(open(_folder.At("stalled").c_str(), O_RDONLY));
    run.Send(SIGINT);
    close(open(_folder.At("release").c_str(), O_WRONLY));
    EXPECT_EQ(run.Wait(), 128 + SIGINT);
    EXPECT_NE(run.Output().find("Copied, but not checked: "), std::string::npos) << run.Output();
    EXPECT_EQ(SnapshotOf(_to).size(), 4u);
}

// Otherwise a lie would be found only by those who look.
TEST_F(Verify, WithoutVerifyingALieStaysUnnoticed)
{
    EXPECT_EQ(ExportWith(Liar("write"), _to, {}).status, 0);
    EXPECT_EQ(SnapshotOf(_to)["sub/bad.bin"].contents, std::string(3 << 20, '\0'));
}

}  // namespace
}  // namespace vx
