// An export by a program that may open few descriptors.
#include "FewDescriptors.h"
#include "ToolFixture.h"

namespace vx {
namespace {

using FewDescriptorsTest = ToolTest;

// Whatever is missing has a message, and no file is there in part.
TEST_F(FewDescriptorsTest, TooFewToWorkWithAreNamed)
{
    for (const char *name : {"a", "b", "c", "d"})
        _folder.WriteFile(std::string("volume/").append(name), std::string(100, name[0]));
    const auto expected = FilesBelow(_volume);
    int complete = 0;
    for (int most = 4; most <= 20; ++most) {
        const std::string destination = _folder.At("with " + std::to_string(most));
        ToolRun run("/bin/sh",
                    {"-c", RunWithDescriptors(most), kTool, "--to", destination, _volume});
        const int status = run.Wait();
        EXPECT_GE(status, 0) << most;
        EXPECT_EQ(run.Errors().empty(), false) << most;
        for (const auto &[path, bytes] : FilesBelow(destination))
            EXPECT_EQ(bytes, expected.at(path)) << most << path;
        if (status == 0)
            EXPECT_EQ(FilesBelow(destination), expected) << most;
        complete += status == 0 ? 1 : 0;
        if (most == 4) {
            EXPECT_EQ(status, 3);
            EXPECT_TRUE(Holds(run.Errors(), "Too many open files"));
        }
    }
    EXPECT_GT(complete, 0);
}

}  // namespace
}  // namespace vx
