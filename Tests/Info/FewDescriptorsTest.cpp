// volume-info when it may open few descriptors.
#include "FewDescriptors.h"
#include "InfoFixture.h"

namespace vx {
namespace {

using FewDescriptorsTest = InfoTest;

TEST_F(FewDescriptorsTest, TooFewToWaitForSignalsAreNamed)
{
    ToolRun run("/bin/sh", {"-c", RunWithDescriptors(4), ProgramWith(VX_STAND_IN), "system disk",
                            "--unlock", "password", "secret"});
    EXPECT_EQ(run.Wait(), 3);
    EXPECT_THAT(run.Errors(),
                ::testing::HasSubstr("no pipe can be made to wait for signals: Too many"));
}

}  // namespace
}  // namespace vx
