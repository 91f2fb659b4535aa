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

TEST_F(FileByteSourceTest, TheHolesOfASparseFileAreKnown)
{
    constexpr off_t kDataAt = off_t{1} << 32;
    constexpr off_t kSize = off_t{1} << 33;
    ASSERT_EQ(::truncate(_path, kSize), 0);
    const int descriptor = ::open(_path, O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(::pwrite(descriptor, "x", 1, kDataAt), 1);
    ::close(descriptor);
    const std::unique_ptr<FileByteSource> source = Open();
    if (source->NextData(kDataAt / 2) == kDataAt / 2)
        GTEST_SKIP() << "this file system does not know of holes";
    EXPECT_EQ(source->NextData(5), 5u);
    EXPECT_LE(source->NextData(kDataAt / 2), uint64_t{kDataAt});
    EXPECT_EQ(source->NextData(kDataAt), uint64_t{kDataAt});
    EXPECT_EQ(source->NextData(kDataAt + kDataAt / 2), uint64_t{kSize});
    EXPECT_EQ(source->NextData(kSize), uint64_t{kSize});
}

TEST_F(FileByteSourceTest, WhatAFileHasLostAtItsEndIsNoHole)
{
    const std::unique_ptr<FileByteSource> source = Open();
    ASSERT_EQ(::truncate(_path, 3), 0);
    EXPECT_EQ(source->NextData(5), 5u);
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
