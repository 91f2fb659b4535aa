#include "Bitlocker/FileByteSource.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace vx::bitlocker {
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

    std::unique_ptr<FileByteSource> open() const { return std::move(*FileByteSource::open(_path)); }

    char _path[64] = "/tmp/byte-source-XXXXXX";
};

TEST_F(FileByteSourceTest, AFileIsReadAtAnyPlace)
{
    const std::unique_ptr<FileByteSource> source = open();
    EXPECT_EQ(source->size(), 10U);
    char bytes[4] = {};
    ASSERT_FALSE(source->readAt(6, bytes, 4));
    EXPECT_EQ(std::string(bytes, 4), "6789");
}

TEST_F(FileByteSourceTest, ARangeBehindTheEndIsTruncated)
{
    char bytes[4];
    EXPECT_EQ(open()->readAt(7, bytes, 4).status, Status::TruncatedImage);
    EXPECT_EQ(open()->readAt(UINT64_MAX, bytes, 1).status, Status::TruncatedImage);
}

TEST_F(FileByteSourceTest, AFileThatBecameShorterIsTruncated)
{
    const std::unique_ptr<FileByteSource> source = open();
    ASSERT_EQ(::truncate(_path, 3), 0);
    char bytes[4];
    EXPECT_EQ(source->readAt(2, bytes, 4).status, Status::TruncatedImage);
}

TEST_F(FileByteSourceTest, AMissingFileOrAFolderIsAnErrorOfTheSystem)
{
    const auto errorOf = [](const char *path) { return FileByteSource::open(path).error(); };
    EXPECT_EQ(errorOf("/nonexistent/image").status, Status::SystemError);
    EXPECT_EQ(errorOf("/nonexistent/image").systemError, ENOENT);
    EXPECT_EQ(errorOf("/tmp").systemError, EISDIR);
}

TEST(ErrorTest, AStatusIsDescribedInWordsWithItsDetail)
{
    EXPECT_EQ(describe({Status::WrongSecret, ""}), "wrong secret");
    EXPECT_EQ(describe({Status::MalformedSecret, "group 3 does not have six digits"}),
              "malformed secret: group 3 does not have six digits");
}

}  // namespace
}  // namespace vx::bitlocker
