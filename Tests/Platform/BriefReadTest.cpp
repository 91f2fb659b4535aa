#include "BriefRead.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using std::chrono::milliseconds;

namespace {

constexpr milliseconds kLong(20000), kShort(100);

}  // namespace

TEST(BriefRead, OnlyARegularFileIsRead)
{
    const vx::TemporaryFolder folder;
    EXPECT_EQ(vx::briefContentsOf(folder.WriteFile("a", "text")), "text");
    EXPECT_EQ(vx::briefContentsOf(folder.At("missing")), "");
    EXPECT_EQ(vx::briefContentsOf(folder.Path()), "");
    EXPECT_EQ(vx::briefContentsOf("/dev/zero"), "");
    ASSERT_EQ(mkfifo(folder.At("fifo").c_str(), 0600), 0);
    EXPECT_EQ(vx::briefContentsOf(folder.At("fifo")), "");
}

TEST(BriefRead, AHugeFileIsCut)
{
    const vx::TemporaryFolder folder;
    const std::string path = folder.WriteFile("a", "");
    ASSERT_EQ(truncate(path.c_str(), 1LL << 40), 0);
    EXPECT_EQ(vx::briefContentsOf(path).size(), 65536u);
}

TEST(BriefRead, AProgramsOutputIsReadToItsEnd)
{
    EXPECT_EQ(vx::briefOutputOf({"sh", "-c", "echo a; echo lost >&2; sleep 0.1; echo b"}, kLong),
              "a\nb\n");
    EXPECT_EQ(vx::briefOutputOf({"no-such-program-anywhere"}, kLong), "");
    EXPECT_EQ(vx::briefOutputOf({"cat", "/dev/zero"}, kLong).size(), 65536u);
}

TEST(BriefRead, AProgramThatDoesNotEndIsKilled)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(vx::briefOutputOf({"sh", "-c", "echo a; exec sleep 60"}, kShort), "");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kLong);
}

TEST(BriefRead, AProgramInheritsNothing)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(dup2(ends[0], 77), 77);
    EXPECT_EQ(
        vx::briefOutputOf({"sh", "-c", "for f in /proc/$$/fd/*; do echo ${f##*/}; done"}, kLong)
            .find("77"),
        std::string::npos);
    EXPECT_EQ(vx::briefOutputOf({"cat"}, kLong), "");
    for (const int end : {77, ends[0], ends[1]})
        close(end);
}
