// Which file a damaged copy may replace.
#include "DamagedCopy.h"
#include "DamageMark.h"
#include "TemporaryFolder.h"
#include "UniqueFd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

class DamagedCopies : public testing::Test {
protected:
    bool HoldsAllOfThe(const std::string &other) const
    {
        const UniqueFd folder(open(_folder.Path().c_str(), O_RDONLY | O_DIRECTORY));
        return HoldsAllOf(folder.Get(), "copy", other);
    }

    // A damaged copy of an earlier export; skips the test where it cannot be marked.
    void WriteEarlier(const std::string &bytes)
    {
        _folder.WriteFile("earlier", bytes);
        const UniqueFd file(open(_folder.At("earlier").c_str(), O_WRONLY));
        if (!MarkDamaged(file.Get()))
            GTEST_SKIP() << "the file system of the temporary folder has no extended attributes";
        EXPECT_TRUE(IsMarkedDamaged(file.Get()));
    }

    const TemporaryFolder _folder;
    const std::string _size = std::string(300 << 10, 'x');
};

TEST_F(DamagedCopies, TheSameBytesMayBeReplaced)
{
    _folder.WriteFile("copy", _size + "abc");
    _folder.WriteFile("other", _size + "abc");
    EXPECT_TRUE(HoldsAllOfThe("other"));
    _folder.WriteFile("other", _size + "abd");
    EXPECT_FALSE(HoldsAllOfThe("other"));
    _folder.WriteFile("other", _size + "abcd");
    EXPECT_FALSE(HoldsAllOfThe("other"));
}

TEST_F(DamagedCopies, ZerosOfAnEarlierDamagedCopyMayBeReplaced)
{
    const std::string zeros(3, '\0');
    _folder.WriteFile("copy", _size + "abc" + zeros + "xyz");
    WriteEarlier(_size + "a" + zeros + zeros + "yz");
    EXPECT_TRUE(HoldsAllOfThe("earlier"));
}

TEST_F(DamagedCopies, WhatOnlyAnEarlierCopyHoldsIsNotReplaced)
{
    const std::string zeros(3, '\0');
    _folder.WriteFile("copy", _size + "abc" + zeros);
    WriteEarlier(_size + zeros + "def");
    EXPECT_FALSE(HoldsAllOfThe("earlier"));
}

TEST_F(DamagedCopies, ZerosOfAnyOtherFileAreData)
{
    _folder.WriteFile("copy", "abc");
    _folder.WriteFile("other", std::string("a\0c", 3));
    EXPECT_FALSE(HoldsAllOfThe("other"));
}

TEST_F(DamagedCopies, OnlyAnOrdinaryFileIsReplaced)
{
    _folder.WriteFile("copy", "abc");
    EXPECT_EQ(symlink("copy", _folder.At("link").c_str()), 0);
    EXPECT_EQ(mkfifo(_folder.At("fifo").c_str(), 0600), 0);
    for (const char *other : {"link", "fifo", "nothing"})
        EXPECT_FALSE(HoldsAllOfThe(other)) << other;
}

TEST_F(DamagedCopies, ReadingLeavesTheTimesAlone)
{
    _folder.WriteFile("copy", "abc");
    _folder.WriteFile("other", "abc");
    const timespec times[] = {{1000, 5}, {2000, 7}};
    for (const char *name : {"copy", "other"})
        EXPECT_EQ(utimensat(AT_FDCWD, _folder.At(name).c_str(), times, 0), 0);
    EXPECT_TRUE(HoldsAllOfThe("other"));
    for (const char *name : {"copy", "other"}) {
        struct stat found;
        EXPECT_EQ(stat(_folder.At(name).c_str(), &found), 0);
        EXPECT_EQ(found.st_atime, 1000) << name;
        EXPECT_EQ(found.st_mtime, 2000) << name;
    }
}

}  // namespace
}  // namespace vx
