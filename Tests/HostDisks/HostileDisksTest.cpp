// Disks whose descriptions are wrong, hostile or vanish while they are read.
#include "LineText.h"
#include "SmallFiles.h"
#include "StandInDisks.h"
#include "UdevRecord.h"

#include <gmock/gmock.h>

#include <atomic>
#include <sys/stat.h>
#include <thread>

namespace vx {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kReplacement[] = "\uFFFD";

std::string LabelFor(const std::string &line)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096");
    disks.SetUdev("8:0", line + "\n");
    return disks.Find("sda").label;
}

TEST(HostileDisks, ALabelStaysOneLineOfValidText)
{
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\x0ab"), std::string("a") + kReplacement + "b");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\xffb"), std::string("a") + kReplacement + "b");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\xff"
                       "b"),
              std::string("a") + kReplacement + "b");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=\\x1b[2J"), std::string(kReplacement) + "[2J");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=gpj\u202Eexe"),
              std::string("gpj") + kReplacement + "exe");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=\\xe2\\x82\\xac 5"), "\u20AC 5");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\x00b"), std::string("a") + kReplacement + "b");
}

TEST(HostileDisks, AnIncompleteEscapeStandsForItself)
{
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\x2"), "a\\x2");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\xg0"), "a\\xg0");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\x2g"), "a\\x2g");
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=a\\"), "a\\");
}

TEST(HostileDisks, ALabelOfSpacesGivesWayToTheNameOfThePartition)
{
    EXPECT_EQ(LabelFor("E:ID_FS_LABEL_ENC=\\x20\\x20\nE:ID_PART_ENTRY_NAME=data"), "data");
}

TEST(HostileDisks, APropertyIsFoundByItsWholeName)
{
    const UdevRecord record("E:ID_FS_TYPE_X=a\nX:ID_FS_TYPE=b\nE:ID_FS_TYPE=c=d");
    EXPECT_EQ(record.Value("ID_FS_TYPE"), "c=d");
    EXPECT_EQ(record.Value("ID_FS"), "");
}

TEST(HostileDisks, AnUdevRecordWithoutEndIsReadUpToALimit)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096");
    disks.Folder().MakeSparseFile("run/udev/data/b8:0", 64LL << 30);
    EXPECT_THAT(disks.Names(), ElementsAre("sda"));
    EXPECT_LE(ReadSmallFile(disks.Folder().At("run/udev/data/b8:0")).size(), 1024u * 1024u);
}

TEST(HostileDisks, AnAttributeThatIsAFifoIsNotWaitedFor)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096", {{"device/vendor", "A"}});
    ASSERT_EQ(mkfifo(disks.Folder().At("sys/class/block/sda/device/model").c_str(), 0600), 0);
    EXPECT_THAT(disks.Names(), ElementsAre("sda"));
}

TEST(HostileDisks, OnlyOrdinaryFilesAreRead)
{
    EXPECT_EQ(ReadSmallFile("/dev/zero"), "");
    EXPECT_EQ(ReadSmallFile("/"), "");
}

TEST(HostileDisks, ASizeThatIsNoSizeIsNoMedium)
{
    for (const char *size : {"", "x", "-1", "99999999999999999999", "18446744073709551615"}) {
        StandInDisks disks;
        disks.AddDisk("sda", "8:0", size);
        EXPECT_THAT(disks.Names(), IsEmpty()) << size;
    }
}

TEST(HostileDisks, MountsWithoutTheirFieldsMarkNothing)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096");
    disks.SetMounts("\n1\n1 2 8:0\n - \n1 2 8:1 / / rw\n1 2 3 4 /boot 6 7 8 9\n");
    EXPECT_FALSE(disks.Find("sda").isSystem);
}

TEST(HostileDisks, APartitionWhoseFilesAreGoneIsLeftOut)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096");
    disks.AddPartition("sda", "sda1", "8:1", "2048");
    unlink(disks.Folder().At("sys/class/block/sda1/size").c_str());
    EXPECT_THAT(disks.Names(), ElementsAre("sda"));
}

TEST(HostileDisks, ADiskThatComesAndGoesWhileItIsListedIsWholeOrLeftOut)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096");
    std::atomic<bool> isDone = false;
    std::thread plugging([&] {
        while (!isDone) {
            disks.AddDisk("sdb", "8:16", "4096");
            disks.AddPartition("sdb", "sdb1", "8:17", "2048");
            disks.Unplug("sdb");
        }
    });
    for (int i = 0; i < 200; ++i) {
        for (const AttachedVolume &volume : ListAttachedVolumes()) {
            EXPECT_THAT(volume.path, Not(IsEmpty()));
            EXPECT_GT(volume.bytes, 0u);
        }
    }
    isDone = true;
    plugging.join();
}

TEST(HostileDisks, ASystemWithoutTheseFoldersHasNoDisks)
{
    const TemporaryFolder empty;
    SetSystemFolder(empty.Path());
    EXPECT_THAT(ListAttachedVolumes(), IsEmpty());
    SetSystemFolder("");
}

TEST(LineText, KeepsWordsAndDropsTheSpaceAround)
{
    EXPECT_EQ(LineText("  Flash Disk \n"), "Flash Disk");
    EXPECT_EQ(LineText(""), "");
    EXPECT_EQ(LineText(" \t"), "");
}

}  // namespace
}  // namespace vx
