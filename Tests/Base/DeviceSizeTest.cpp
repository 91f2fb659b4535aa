// Which files are disk devices, and how large a file is.
#include "DeviceSize.h"
#include "UniqueFd.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace vx {
namespace {

TEST(DeviceSize, ABlockDeviceIsADiskAndAPipeOrAFileIsNot)
{
    EXPECT_TRUE(IsDiskDevice(S_IFBLK | 0600));
    EXPECT_FALSE(IsDiskDevice(S_IFIFO | 0600));
    EXPECT_FALSE(IsDiskDevice(S_IFREG | 0600));
    EXPECT_FALSE(IsDiskDevice(S_IFDIR | 0700));
}

TEST(DeviceSize, AFolderHasNone)
{
    const UniqueFd folder(open("/", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(folder);
    const auto size = DeviceSize(folder.Get());
    ASSERT_FALSE(size);
    EXPECT_EQ(size.Failure().systemError, EISDIR);
}

}  // namespace
}  // namespace vx
