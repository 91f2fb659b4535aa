// What other processes can see of a secret; asks the kernel, so Linux only.
#include "ToolFixture.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// A stand-in's opening lasts until it is cancelled; its secret is a folder with a FIFO, which is
// opened when the opening begins.
class SecretTrace : public ToolTest {
protected:
    SecretTrace() { mkfifo((_secret + "/opening").c_str(), 0600); }

    // What /proc shows of the program while it opens a volume with the secret.
    std::string SeenWhileOpening(const std::string &word, const std::string &redirection)
    {
        ToolRun run("/bin/sh",
                    {"-c",
                     "exec \"$0\" --list slow --unlock password \"" + word + "\" " + redirection,
                     CopyOfTool(VX_CANCELLABLE)});
        close(open((_secret + "/opening").c_str(), O_RDONLY));
        std::string seen;
        for (const char *name : {"/cmdline", "/environ"})
            seen += FileOf("/proc/" + std::to_string(run.Process()) + name);
        run.Send(SIGTERM);
        EXPECT_EQ(run.Wait(), -SIGTERM);
        return seen;
    }

    static std::string FileOf(const std::string &path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    const std::string _secret = _folder.MakeFolder("the-secret-word");
    const std::string _file = _folder.WriteFile("file", _secret + "\n");
};

TEST_F(SecretTrace, ASecretFromADescriptorOrAFileIsSeenByNobody)
{
    EXPECT_TRUE(Lacks(SeenWhileOpening("fd:5", "5<'" + _file + "'"), "the-secret-word"));
    EXPECT_TRUE(Lacks(SeenWhileOpening("@" + _file, ""), "the-secret-word"));
}

TEST_F(SecretTrace, ASecretOnTheCommandLineIsOverwrittenBeforeTheVolumeIsOpened)
{
    const std::string seen = SeenWhileOpening(_secret, "");
    EXPECT_TRUE(Lacks(seen, "the-secret-word"));
    EXPECT_TRUE(Holds(seen, "--unlock"));
}

}  // namespace
}  // namespace vx
