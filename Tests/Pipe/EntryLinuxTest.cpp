// The descriptors of a running explorer, as only this system shows them.
#include "ChildProcess.h"
#include "Eventually.h"
#include "PipeFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char kToExplorer[] = "/tmp/z5_btl_3";
constexpr char kToHost[] = "/tmp/z5_btl_4";

class EntryDescriptorsTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_FALSE(PipeFolder::Exists(kToExplorer)); }
    ~EntryDescriptorsTest() override
    {
        unlink(kToExplorer);
        unlink(kToHost);
    }

    PipeFolder _folder;
};

TEST_F(EntryDescriptorsTest, TheLinkTakesNoStandardDescriptorsPlace)
{
    const std::string pidFile = _folder.At("pid");
    ChildProcess explorer("/bin/sh", {"-c", "echo $$ > \"$4\"; exec \"$0\" \"$@\" >&- 2>&-",
                                      EXPLORER, "volume", "none", "", pidFile});
    ASSERT_TRUE(Eventually([] { return PipeFolder::Exists(kToHost); }));
    std::string pid;
    std::ifstream(pidFile) >> pid;
    for (const char *descriptor : {"1", "2"})
        EXPECT_EQ(fs::read_symlink("/proc/" + pid + "/fd/" + descriptor), "/dev/null");
    explorer.CloseInput();
    EXPECT_EQ(explorer.AwaitEnd(), 0);
}

}  // namespace
