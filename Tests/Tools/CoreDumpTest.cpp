// A process that has unlocked a volume has the keys in its memory; a core dump would have them on
// the disk.
#include "EncryptedFixture.h"

#include <csignal>

namespace vx {
namespace {

class CoreDump : public EncryptedTest {
protected:
    // Enough rows, in a folder that may grow, that the program is still printing when the first has
    // been read.
    void SetUp() override
    {
        EncryptedTest::SetUp();
        if (IsSkipped())
            return;
        for (int number = 0; number < kFiles; ++number)
            _folder.WriteFile(
                "volume/many/" + std::to_string(number) + std::string(kNameLength, 'n'), "");
        MakeImage(8);
    }

    // Aborts the program amid a listing.
    bool DumpsCoreWhenAborted(const Arguments &unlock)
    {
        Arguments arguments = {"--list", "--recursive", _image};
        arguments.insert(arguments.end(), unlock.begin(), unlock.end());
        ToolRun::Settings settings;
        settings.mayDumpCore = true;
        settings.folder = _folder.MakeFolder("dumps");
        ToolRun run(kTool, arguments, settings);
        run.AwaitOutput("nnn");
        run.Send(SIGABRT);
        EXPECT_EQ(run.Wait(), -SIGABRT) << run.Errors();
        return run.DumpedCore();
    }

    static constexpr int kFiles = 1500;
    static constexpr size_t kNameLength = 200;
};

TEST_F(CoreDump, AnAbortWhileAnEncryptedVolumeIsOpenLeavesNone)
{
    if (!DumpsCoreWhenAborted({}))
        GTEST_SKIP() << "no core dump is made here, by this machine or by a build with a sanitizer";
    Encrypt("--password correct");
    EXPECT_FALSE(DumpsCoreWhenAborted({"--unlock", "password", "correct"}));
}

}  // namespace
}  // namespace vx
