// FAT32 and exFAT volumes whose boot sector is lost, and the backup that takes its place.
#include "ExfatImage.h"
#include "FatImage.h"
#include "FileSystemKind.h"
#include "Listed.h"
#include "SourceWithHole.h"
#include "TestImage.h"

#include <algorithm>
#include <functional>

namespace vx {
namespace {

constexpr size_t kMiB = size_t{1} << 20;

class FatBackupBoot : public testing::Test {
protected:
    void MakeFat32(const std::string &options = "")
    {
        const TestImage made{};
        ASSERT_TRUE(made.MakeFat(34, "-F 32 -s 1 " + options));
        ASSERT_TRUE(made.FillFat(tree));
        bytes = made.Folder().ReadFile("image");
    }

    void MakeExfat()
    {
        const TestImage made{};
        ASSERT_TRUE(made.MakeExfat(8));
        ExfatImage image(made.Folder().ReadFile("image"));
        image.Add(image.root, {u"file", 0x20, true, 100, 8, 8});
        image.Write(100, "contents");
        bytes = image.Text();
    }

    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        VX_NEEDS("mkfs.exfat");
    }

    VolumeLibraryStatus Open(size_t begin = 0, size_t end = 0)
    {
        const auto source = std::make_shared<SourceWithHole>(bytes, begin, end);
        Opened opened = OpenDiskOf(source);
        detail = std::move(opened.detail);
        volume = std::move(opened.volume);
        return opened.status;
    }

    void ExpectTreeByBackup(const char *why, size_t begin = 0, size_t end = 0)
    {
        ASSERT_EQ(Open(begin, end), VolumeLibraryStatus::kSuccess) << detail;
        EXPECT_EQ(detail, std::string("its boot sector ") + why + "; the backup of it was used");
        ExpectSameTree(ReadTree(*volume), tree);
    }

    void Damage(size_t at, const std::string &with) { bytes.replace(at, with.size(), with); }

    const TestTree tree = {{"file", "contents"}};
    std::string bytes;
    std::string detail;
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(FatBackupBoot, AnIntactVolumeGivesNoWarning)
{
    MakeFat32();
    EXPECT_EQ(Open(), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(detail, "");
    MakeExfat();
    EXPECT_EQ(Open(), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(detail, "");
}

TEST_F(FatBackupBoot, AnUnreadableFirstSectorGivesWay)
{
    MakeFat32();
    ExpectTreeByBackup("cannot be read", 0, 512);
    MakeExfat();
    ExpectTreeByBackup("cannot be read", 0, 512);
}

TEST_F(FatBackupBoot, AFirstSectorOfZerosOrNoiseGivesWay)
{
    for (const std::string &damage : {std::string(512, '\0'), NoiseBytes(512, 4)}) {
        MakeFat32();
        Damage(0, damage);
        ExpectTreeByBackup("is damaged");
        MakeExfat();
        Damage(0, damage);
        ExpectTreeByBackup("is damaged");
    }
}

TEST_F(FatBackupBoot, TheBackupOfFat32MayLieElsewhere)
{
    MakeFat32("-b 9");
    Damage(13, std::string(1, '\3'));  // sectors of a cluster
    ExpectTreeByBackup("is damaged");
}

TEST_F(FatBackupBoot, OfLargeSectorsTheBackupLiesFartherAway)
{
    const TestImage made{};
    ASSERT_TRUE(made.MakeFat(68, "-F 32 -s 1 -S 1024"));
    ASSERT_TRUE(made.FillFat(tree));
    bytes = made.Folder().ReadFile("image");
    Damage(0, std::string(512, '\0'));
    ExpectTreeByBackup("is damaged");
}

TEST_F(FatBackupBoot, NoFieldThatTellsWhereFat32LiesIsChangedUnnoticed)
{
    MakeFat32();
    const std::string intact = bytes;
    // Bytes per sector, sectors per cluster, reserved, tables, media, sectors, table, root.
    for (const size_t at : {11, 12, 13, 14, 15, 16, 21, 32, 33, 34, 36, 37, 44, 45}) {
        for (const char change : {'\x01', '\x80'}) {
            bytes = intact;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            ASSERT_EQ(Open(), VolumeLibraryStatus::kSuccess) << at << ": " << detail;
            EXPECT_NE(detail, "") << at;
            ExpectSameTree(ReadTree(*volume), tree);
        }
    }
}

TEST_F(FatBackupBoot, ABackupThatIsDamagedIsNotUsed)
{
    MakeFat32();
    for (const size_t at : {13, 33, 44}) {
        bytes[6 * 512 + at] = static_cast<char>(bytes[6 * 512 + at] ^ 2);
        ASSERT_EQ(Open(), VolumeLibraryStatus::kSuccess) << detail;
        ExpectSameTree(ReadTree(*volume), tree);
        EXPECT_EQ(detail.find("was used"), detail.npos) << detail;
    }
}

TEST_F(FatBackupBoot, NoByteOfTheBootSectorsOfExfatIsChangedUnnoticed)
{
    MakeExfat();
    const std::string intact = bytes;
    for (size_t at = 0; at < 12 * 512; at += at < 120 ? 1 : 97) {
        if (at == 106 || at == 107 || at == 112)  // they may change
            continue;
        bytes = intact;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x10);
        ExpectTreeByBackup("is damaged");
    }
}

TEST_F(FatBackupBoot, ExfatWithoutASoundBackupOpensWithAWarning)
{
    MakeExfat();
    bytes[200] = 'x';
    bytes[12 * 512 + 200] = 'x';
    ASSERT_EQ(Open(), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(detail, "its boot sectors do not fit their checksum, and there is no sound backup");
    ExpectSameTree(ReadTree(*volume), tree);
}

TEST_F(FatBackupBoot, WithoutABackupItDoesNotOpen)
{
    MakeFat32();
    Damage(0, std::string(512, '\0'));
    Damage(6 * 512, std::string(512, '\0'));
    EXPECT_EQ(Open(), VolumeLibraryStatus::kFileSystemNotSupported);
    MakeExfat();
    EXPECT_EQ(Open(0, 24 * 512), VolumeLibraryStatus::kReadFailed);
}

TEST_F(FatBackupBoot, APartitionWhoseFirstSectorIsLostIsStillSeen)
{
    VX_NEEDS("sfdisk");
    MakeFat32();
    const TestImage disk{};
    ASSERT_TRUE(RunShell("cd " + Quoted(disk.At("")) +
                         " && truncate -s 35M image && printf 'start=2048,size=69632\n' | "
                         "sfdisk -q image"));
    std::string whole = disk.Folder().ReadFile("image");
    whole.replace(kMiB, bytes.size(), bytes);
    whole.replace(kMiB, 512, 512, '\0');
    bytes = whole;
    ExpectTreeByBackup("is damaged");
    ExpectTreeByBackup("cannot be read", kMiB, kMiB + 512);
}

TEST_F(FatBackupBoot, WhatADiskWithPartitionsHasFromAnEarlierUseIsNoVolume)
{
    VX_NEEDS("sfdisk");
    MakeFat32();
    const TestImage disk{};
    disk.Folder().WriteFile("image", bytes);
    ASSERT_TRUE(RunShell("cd " + Quoted(disk.At("")) +
                         " && dd if=/dev/zero of=image bs=512 count=1 conv=notrunc status=none && "
                         "printf 'start=4096,size=20480\n' | sfdisk -q image"));
    bytes = disk.Folder().ReadFile("image");
    const SourceWithHole source(bytes);
    EXPECT_EQ(*ProbeFileSystem(source), FileSystemKind::kUnknown);
    EXPECT_NE(Open(), VolumeLibraryStatus::kSuccess);
}

TEST_F(FatBackupBoot, TheActiveTableOfFat32IsUsedWhereTheyDiffer)
{
    MakeFat32();
    FatImage image(bytes);
    image.PutNext(image.FirstClusterOf("FILE       "), FatImage::kFree, 0);
    bytes = image.bytes;
    bytes[40] = '\x81';
    bytes[6 * 512 + 40] = '\x81';
    ASSERT_EQ(Open(), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(ObstacleOf(*volume, u"/file"), VolumeObstacle::kNone);
    bytes[40] = '\x80';
    bytes[6 * 512 + 40] = '\x80';
    ASSERT_EQ(Open(), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(ObstacleOf(*volume, u"/file"), VolumeObstacle::kDamaged);
}

}  // namespace
}  // namespace vx
