#include "FileByteSource.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace vx {
namespace {

class FileByteSourceTest : public testing::Test {
protected:
    FileByteSourceTest()
    {
        const int descriptor = ::mkstemp(_path);
        EXPECT_EQ(::write(descriptor, "0123456789", 10), 10);
        ::close(descriptor);
    }
    ~FileByteSourceTest() override { ::unlink(_path); }

    std::unique_ptr<FileByteSource> Open() const { return std::move(*FileByteSource::Open(_path)); }

    char _path[64] = "/tmp/byte-source-XXXXXX";
};

TEST_F(FileByteSourceTest, AFileIsReadAtAnyPlace)
{
    const std::unique_ptr<FileByteSource> source = Open();
    EXPECT_EQ(source->Size(), 10U);
    char bytes[4] = {};
    ASSERT_FALSE(source->ReadAt(6, bytes, 4));
    EXPECT_EQ(std::string(bytes, 4), "6789");
}

TEST_F(FileByteSourceTest, ARangeBehindTheEndIsTruncated)
{
    char bytes[4];
    EXPECT_EQ(Open()->ReadAt(7, bytes, 4).status, Status::kTruncatedImage);
    EXPECT_EQ(Open()->ReadAt(UINT64_MAX, bytes, 1).status, Status::kTruncatedImage);
}

TEST_F(FileByteSourceTest, AFileThatBecameShorterIsTruncated)
{
    const std::unique_ptr<FileByteSource> source = Open();
    ASSERT_EQ(::truncate(_path, 3), 0);
    char bytes[4];
    EXPECT_EQ(source->ReadAt(2, bytes, 4).status, Status::kTruncatedImage);
}

TEST_F(FileByteSourceTest, AMissingFileOrAFolderIsAnErrorOfTheSystem)
{
    const auto errorOf = [](const char *path) { return FileByteSource::Open(path).Failure(); };
    EXPECT_EQ(errorOf("/nonexistent/image").status, Status::kSystemError);
    EXPECT_EQ(errorOf("/nonexistent/image").systemError, ENOENT);
    EXPECT_EQ(errorOf("/tmp").systemError, EISDIR);
}

}  // namespace
}  // namespace vx
