#include "ArrivingFile.h"
#include "Eventually.h"
#include "TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kPart = size_t{4} << 20;

// Whether the first bytes of the file have no place on the disk yet, since nothing of them was
// written; nothing if the file system does not say.
std::optional<bool> IsOnlyInMemory(int file)
{
    alignas(fiemap) char space[sizeof(fiemap) + sizeof(fiemap_extent)] = {};
    auto *map = reinterpret_cast<fiemap *>(space);
    map->fm_length = kPart;
    map->fm_extent_count = 1;
    if (ioctl(file, FS_IOC_FIEMAP, map) != 0 || map->fm_mapped_extents == 0)
        return std::nullopt;
    return (map->fm_extents[0].fe_flags & FIEMAP_EXTENT_DELALLOC) != 0;
}

class EarlyWriting : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(*opened);
        ASSERT_TRUE(file.Create(opened, "file", nullptr));
    }

    void Write(int parts)
    {
        const std::string part(kPart, 'x');
        for (int i = 0; i < parts; ++i)
            ASSERT_EQ(file.Write(part.data(), part.size()), part.size());
    }

    const TemporaryFolder folder;
    const ArrivingFile::Folder opened =
        std::make_shared<UniqueFd>(open(folder.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const PartialNames partials{};
    ArrivingFile file{partials, 255};
};

TEST_F(EarlyWriting, TheDiskGetsALargeFileWhileItIsWritten)
{
    Write(1);
    const auto before = IsOnlyInMemory(file.File());
    if (!before || !*before)
        GTEST_SKIP() << "this file system does not say what it keeps in memory";
    Write(1);
    EXPECT_TRUE(Eventually([&] { return IsOnlyInMemory(file.File()) == false; },
                           std::chrono::milliseconds(2000)));
}

}  // namespace
}  // namespace vx
