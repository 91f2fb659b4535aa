// What is left of a secret in the memory of volume-mount while it serves; asks the kernel, so
// Linux only.
#include "MountFixture.h"
#include "ProcessMemoryLinux.h"
#include "TestImage.h"

#include <csignal>

#include "Eventually.h"

namespace vx {
namespace {

class MountedSecret : public MountTest, public testing::WithParamInterface<const char *> {};

TEST_P(MountedSecret, NothingIsLeftOfItWhileTheVolumeIsMounted)
{
    if (!CanMountNtfs())
        GTEST_SKIP() << "mkntfs or ntfs-3g is missing";
    const std::string secret = GetParam();
    const TestImage image;
    ASSERT_TRUE(image.MakeNtfs(32));
    ASSERT_TRUE(image.Encrypt("--password '" + secret + "'"));
    const std::string folder = MountPoint();
    ToolRun run(VX_MOUNT, {image.Path(), "--unlock", "password", secret, folder});
    ASSERT_TRUE(Eventually([&] { return IsMounted(folder); }));
    EXPECT_EQ(Shell("ls " + Quoted(folder)).status, 0);
    EXPECT_GT(CountInMemory(run.Process(), folder), 0) << "what is there is found";
    // Freed memory has lost its beginning.
    EXPECT_EQ(CountInMemory(run.Process(), secret.substr(secret.size() / 2)), 0);
    run.Send(SIGTERM);
    EXPECT_EQ(run.Wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(ShortAndLong, MountedSecret,
                         testing::Values("0pen sesame",
                                         "a s3cret that is longer than a short text"));

}  // namespace
}  // namespace vx
