// What a mount does with volumes that cannot give everything: it says so to the program that reads.
#include "MountFixture.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "UniqueFd.h"

namespace vx {
namespace {

constexpr int64_t kMiB = 1 << 20;

class DamagedMount : public MountTest {
protected:
    // The errno of opening a file, or of reading at a place of it; 0 if that worked.
    static int Open(const std::string &path)
    {
        const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        return file ? 0 : errno;
    }
    static int ReadAt(const std::string &path, int64_t position)
    {
        const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        char byte = 0;
        if (!file)
            return errno;
        return pread(file.Get(), &byte, 1, position) == 1 ? 0 : errno;
    }
};

TEST_F(DamagedMount, GivesAnErrorWhereTheVolumeCannotBeRead)
{
    const std::string file = MountStandIn("unread") + "/damaged.bin";
    EXPECT_EQ(ReadAt(file, kMiB), EIO);
    EXPECT_EQ(ReadAt(file, kMiB + 4095), EIO);
    EXPECT_EQ(ReadAt(file, 5 * kMiB + 100), EIO);
    EXPECT_EQ(ReadAt(file, 0), 0);
    EXPECT_EQ(ReadAt(file, kMiB - 4096), 0);
    EXPECT_EQ(ReadAt(file, kMiB + 4096), 0);
    EXPECT_EQ(ReadAt(file, 6 * kMiB - 1), 0);
}

// The kernel is given all of a small file when it is opened first, or nothing.
TEST_F(DamagedMount, GivesAnErrorWhereASmallFileCannotBeReadHoweverOftenItIsOpened)
{
    const std::string mounted = MountStandIn("unread-small");
    const std::string file = mounted + "/damaged.bin";
    EXPECT_EQ(Shell("cat " + Quoted(mounted + "/before.bin") + " | wc -c").output, "40000");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(ReadAt(file, 8192), EIO);
        EXPECT_EQ(ReadAt(file, 8191), 0);
        EXPECT_EQ(ReadAt(file, 12288), 0);
    }
    EXPECT_NE(Shell("cat " + Quoted(file)).status, 0);
}

TEST_F(DamagedMount, MakesACopyOfADamagedFileFail)
{
    const std::string mounted = MountStandIn("unread");
    const Result copied = Shell("cp -r " + Quoted(mounted) + " " + Quoted(_folder.At("copy")));
    EXPECT_NE(copied.status, 0);
    EXPECT_NE(copied.output.find("damaged.bin"), std::string::npos) << copied.output;
    EXPECT_EQ(copied.output.find("before.bin"), std::string::npos) << copied.output;
    EXPECT_EQ(copied.output.find("behind.bin"), std::string::npos) << copied.output;
    EXPECT_EQ(_folder.ReadFile("copy/behind.bin").size(), 7U);
}

TEST_F(DamagedMount, GivesErrorsAtOnceWhenTheDiskHasGone)
{
    const std::string mounted = MountStandIn("gone");
    EXPECT_NE(Shell("cat " + Quoted(mounted + "/two.bin")).status, 0);
    EXPECT_EQ(Open(mounted + "/three.bin"), EIO);
    EXPECT_EQ(Shell("ls " + Quoted(mounted)).status, 0) << "its folder was read before";
}

TEST_F(DamagedMount, SaysWhyAFileDoesNotOpen)
{
    const std::string mounted = MountStandIn("obstacles");
    EXPECT_EQ(Open(mounted + "/here.txt"), 0);
    EXPECT_EQ(Open(mounted + "/packed1.exe"), EOPNOTSUPP);
    EXPECT_EQ(Open(mounted + "/cloud.txt"), EOPNOTSUPP);
    EXPECT_EQ(Open(mounted + "/efs.txt"), EOPNOTSUPP);
    EXPECT_EQ(Open(mounted + "/closed.txt"), EIO);
    EXPECT_EQ(Open(mounted + "/contradictory.txt"), EIO);
    EXPECT_EQ(Open(mounted + "/nothing"), ENOENT);
    EXPECT_EQ(Shell("ls " + Quoted(mounted + "/cloud")).status, 2);
}

TEST_F(DamagedMount, ShowsALinkAsALinkThatLeadsNowhere)
{
    const std::string mounted = MountStandIn("failing");
    EXPECT_EQ(Shell("cd " + Quoted(mounted) + "; find . -type l 2>/dev/null | sort").output,
              "./link-to-folder\n./link-to-nothing");
    EXPECT_EQ(Open(mounted + "/link-to-folder"), ENOENT);
}

// Its folder says less than the file has.
TEST_F(DamagedMount, GivesAllOfAFileThatIsLongerThanItsFolderSays)
{
    const std::string file = MountStandIn("failing") + "/grown.bin";
    EXPECT_EQ(Shell("stat -c %s " + Quoted(file)).output, "10");
    EXPECT_EQ(Shell("cat " + Quoted(file) + " | wc -c").output, "20");
    EXPECT_EQ(Shell("stat -c %s " + Quoted(file)).output, "20");
}

TEST_F(DamagedMount, EndsTheListOfADamagedFolderWithAnError)
{
    const std::string mounted = MountStandIn("damaged-folders");
    for (const char *folder : {"partial", "recovered"}) {
        const Result listed =
            Shell("find " + Quoted(mounted + "/" + folder) + " -type f -printf %f");
        EXPECT_EQ(listed.status, 1) << folder;
        EXPECT_NE(listed.output.find(std::string(folder) == "partial" ? "a.txt" : "b.txt"),
                  std::string::npos)
            << listed.output;
    }
    EXPECT_EQ(Shell("ls " + Quoted(mounted + "/whole")).output, "c.txt");
}

// It may be one of those that are missing.
TEST_F(DamagedMount, DoesNotSayThatANameIsMissingFromADamagedFolder)
{
    const std::string mounted = MountStandIn("damaged-folders");
    EXPECT_EQ(Open(mounted + "/partial/other.txt"), EIO);
    EXPECT_EQ(Open(mounted + "/partial/a.txt"), 0);
    EXPECT_EQ(Open(mounted + "/whole/other.txt"), ENOENT);
}

TEST_F(DamagedMount, CopiesNothingInSilenceFromADamagedFolder)
{
    const std::string mounted = MountStandIn("damaged-folders");
    const Result copied = Shell("cp -a " + Quoted(mounted) + " " + Quoted(_folder.At("copy")));
    EXPECT_NE(copied.status, 0);
    EXPECT_NE(copied.output.find("/partial"), std::string::npos) << copied.output;
    EXPECT_NE(copied.output.find("/recovered"), std::string::npos) << copied.output;
    EXPECT_EQ(_folder.ReadFile("copy/whole/c.txt").size(), 9U);
}

TEST_F(DamagedMount, ShowsTheFirstOfTwoEntriesOfOneNameAndAnError)
{
    const std::string mounted = MountStandIn("duplicate");
    const Result listed = Shell("find " + Quoted(mounted) + " -type f -printf '%f %s;'");
    EXPECT_EQ(listed.status, 1);
    EXPECT_NE(listed.output.find("a.txt 5;"), std::string::npos) << listed.output;
    EXPECT_EQ(listed.output.find("a.txt 7;"), std::string::npos) << listed.output;
}

TEST_F(DamagedMount, LeavesOutNamesThatAreNone)
{
    const std::string mounted = MountStandIn("hostile");
    const Result listed = Shell("find " + Quoted(mounted) + " -mindepth 1 -printf '[%P]'");
    EXPECT_EQ(listed.status, 1);
    EXPECT_NE(listed.output.find("[good.txt]"), std::string::npos);
    EXPECT_NE(listed.output.find("[..\\escaped3]"), std::string::npos) << listed.output;
    EXPECT_EQ(listed.output.find("escaped1"), std::string::npos) << listed.output;
    EXPECT_EQ(listed.output.find("escaped4"), std::string::npos) << listed.output;
}

TEST_F(DamagedMount, ShortensLongNamesAsTheExportDoes)
{
    for (const char *tree : {"long-names", "long-and-taken"}) {
        const std::string mounted = MountStandIn(tree);
        const std::string tool = _folder.At("tool/bin/volume-export");
        Shell("mkdir -p " + Quoted(_folder.At("tool/bin/Resources")) + "; cp " VX_TOOL " " +
              Quoted(tool) + "; ln -sf " VX_STAND_IN " " +
              Quoted(_folder.At("tool/bin/Resources/libBitLockerWapper.dylib")));
        const std::string copy = _folder.At(tree);
        ASSERT_EQ(Shell(Quoted(tool) + " " + tree + " --to " + Quoted(copy)).status, 0);
        const std::string names = " && find . -mindepth 1 -printf '%y %s %P\\n' | grep ^f | sort";
        EXPECT_EQ(Shell("cd " + Quoted(mounted) + names).output,
                  Shell("cd " + Quoted(copy) + names).output);
    }
}

}  // namespace
}  // namespace vx
