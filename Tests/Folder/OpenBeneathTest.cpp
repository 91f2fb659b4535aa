// Both ways of opening beneath a folder keep the same promises.
#include "OpenBeneath.h"
#include "TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class OpenBeneathTest : public testing::TestWithParam<decltype(&OpenBeneath)> {
protected:
    UniqueFd Open(const std::string &relative, int flags = O_RDONLY)
    {
        return GetParam()(root.Get(), relative, flags);
    }
    // The error of an open that must fail.
    int Error(const std::string &relative)
    {
        const UniqueFd opened = Open(relative);
        return opened ? 0 : errno;
    }

    const TemporaryFolder folder;
    const UniqueFd root{open(folder.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

std::string Contents(const UniqueFd &file)
{
    char bytes[64];
    const ssize_t got = read(file.Get(), bytes, sizeof bytes);
    return std::string(bytes, got > 0 ? static_cast<size_t>(got) : 0);
}

// Makes folders nested so deep that no path of the system reaches the last one, with a file in
// it, and returns the file's relative path.
std::string MakeDeepFile(int root)
{
    const std::string name(200, 'd');
    std::string relative;
    UniqueFd folder(dup(root));
    for (int level = 0; level < 30; ++level) {
        mkdirat(folder.Get(), name.c_str(), 0755);
        folder = UniqueFd(openat(folder.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        relative += name + '/';
    }
    const UniqueFd file(openat(folder.Get(), "deep", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    EXPECT_EQ(write(file.Get(), "far down", 8), 8);
    return relative + "deep";
}

TEST_P(OpenBeneathTest, AFileInASubfolderOpens)
{
    folder.WriteFile("a/b/file", "inside");
    EXPECT_EQ(Contents(Open("a/b/file")), "inside");
}

TEST_P(OpenBeneathTest, TheEmptyPathOpensTheFolderItselfAnew)
{
    const UniqueFd opened = Open("", O_RDONLY | O_DIRECTORY);
    struct stat expected = {};
    struct stat found = {};
    ASSERT_EQ(fstat(root.Get(), &expected), 0);
    ASSERT_EQ(fstat(opened.Get(), &found), 0);
    EXPECT_EQ(found.st_ino, expected.st_ino);
    EXPECT_NE(opened.Get(), root.Get());
}

TEST_P(OpenBeneathTest, APathThatIsNotThereFails)
{
    EXPECT_EQ(Error("missing"), ENOENT);
    EXPECT_EQ(Error("missing/file"), ENOENT);
}

TEST_P(OpenBeneathTest, ALinkAtTheEndFailsAsALink)
{
    folder.WriteFile("file", "inside");
    folder.MakeLink("link", "file");
    EXPECT_EQ(Error("link"), ELOOP);
}

TEST_P(OpenBeneathTest, ALinkOnTheWayFails)
{
    folder.WriteFile("real/file", "inside");
    folder.MakeLink("link", "real");
    EXPECT_NE(Error("link/file"), 0);
}

TEST_P(OpenBeneathTest, AFileOnTheWayFails)
{
    folder.WriteFile("file", "inside");
    EXPECT_EQ(Error("file/beneath"), ENOTDIR);
}

TEST_P(OpenBeneathTest, TheDescriptorIsClosedOnExec)
{
    folder.WriteFile("a/file", "inside");
    EXPECT_EQ(fcntl(Open("a/file").Get(), F_GETFD), FD_CLOEXEC);
}

TEST_P(OpenBeneathTest, APathLongerThanTheSystemTakesAtOnceOpens)
{
    EXPECT_EQ(Contents(Open(MakeDeepFile(root.Get()))), "far down");
}

INSTANTIATE_TEST_SUITE_P(Quickest, OpenBeneathTest, testing::Values(&OpenBeneath));
INSTANTIATE_TEST_SUITE_P(Walking, OpenBeneathTest, testing::Values(&OpenBeneathByWalking));

}  // namespace
}  // namespace vx
