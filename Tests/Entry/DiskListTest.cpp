// What is reported about a disk with several partitions: of those that open, of the others, and of
// its tables.
#include "DiskWriter.h"
#include "TestImage.h"

namespace vx {
namespace {

using Status = VolumeLibraryStatus;

constexpr size_t kSector = DiskWriter::kSector;
constexpr size_t kSectorsOfMiB = (size_t{1} << 20) / kSector;
constexpr uint8_t kDynamic = 0x42;
constexpr std::array<uint8_t, 16> kLdmData = {0xA0, 0x60, 0x9B, 0xAF, 0x31, 0x14, 0x62, 0x4F,
                                              0xBC, 0x68, 0x33, 0x11, 0x71, 0x4A, 0x69, 0xAD};
constexpr std::array<uint8_t, 16> kStorageSpaces = {0x8F, 0xAF, 0x5C, 0xE7, 0x80, 0xF6, 0xEE, 0x4C,
                                                    0xAF, 0xA3, 0xB0, 0x01, 0xE5, 0x6E, 0xFC, 0x2D};

class DiskList : public testing::Test {
protected:
    void SetUp() override { VX_NEEDS("mkfs.fat"); }

    std::string MakeFat(const std::string &label) const
    {
        EXPECT_TRUE(image.MakeFat(4, label.empty() ? "" : "-n " + label));
        return image.Folder().ReadFile("image");
    }

    // A partition of 4 MiB at 1, 6, 11 ... MiB.
    void Add(const std::string &bytes, uint8_t type = 0x07)
    {
        const size_t sector = (1 + 5 * count) * kSectorsOfMiB;
        disk.PutMbr(0, count++, type, static_cast<uint32_t>(sector), 4 * kSectorsOfMiB);
        disk.PutText(sector * kSector, bytes);
    }

    Opened Open(const std::string &choice = "") const
    {
        return OpenImage(image.Folder().WriteFile("disk", disk.Bytes()) + choice);
    }

    const TestImage image{};
    DiskWriter disk{21 * kSectorsOfMiB};
    size_t count = 0;
};

TEST_F(DiskList, SeveralVolumesAreListedWithTheirLabelsAndSizes)
{
    VX_NEEDS("mkntfs");
    Add(MakeFat("STICK"));
    ASSERT_TRUE(image.MakeNtfs(4, "-L Data"));
    Add(image.Folder().ReadFile("image"));
    Add(MakeFat(""));
    const Opened opened = Open();
    EXPECT_EQ(opened.status, Status::kSeveralVolumes);
    EXPECT_EQ(opened.detail, "1: FAT \"STICK\", 4 MiB; 2: NTFS \"Data\", 4 MiB; 3: FAT, 4 MiB");
}

TEST_F(DiskList, ALabelThatSteersATerminalIsListedWithoutThat)
{
    std::string fat = MakeFat("STEERSIT");
    for (size_t at = fat.find("STEERSIT"); at != std::string::npos; at = fat.find("STEERSIT"))
        fat.replace(at, 8, "S\033[7m\nIT");
    Add(fat);
    Add(fat);
    EXPECT_EQ(Open().detail, "1: FAT \"S[7mIT\", 4 MiB; 2: FAT \"S[7mIT\", 4 MiB");
}

TEST_F(DiskList, WhatDoesNotOpenHasNoNumberButIsNamed)
{
    Add("LUKS\xBA\xBE");
    Add(MakeFat("ONE"));
    Add("");
    Add(MakeFat("TWO"));
    EXPECT_EQ(Open().detail,
              "1: FAT \"ONE\", 4 MiB; 2: FAT \"TWO\", 4 MiB; without a number, since it does not "
              "open here: a LUKS volume, 4 MiB: open it with cryptsetup");
    EXPECT_EQ(Open("#2").status, Status::kSuccess);
    const Opened third = Open("#3");
    EXPECT_EQ(third.status, Status::kNoSuchVolume);
    EXPECT_NE(third.detail.find("a LUKS volume, 4 MiB"), std::string::npos) << third.detail;
}

TEST_F(DiskList, TheOnlyVolumeOpensWithAWordAboutTheOthers)
{
    Add("LUKS\xBA\xBE");
    Add(MakeFat(""));
    const Opened opened = Open();
    EXPECT_EQ(opened.status, Status::kSuccess);
    EXPECT_EQ(opened.detail, "the disk also holds a LUKS volume, 4 MiB: open it with cryptsetup");
    EXPECT_EQ(Open("#1").detail, "") << "it was asked for";
}

TEST_F(DiskList, ADiskWithoutAnyVolumeThatOpensNamesWhatItHolds)
{
    Add("LUKS\xBA\xBE");
    Add(NoiseBytes(4096, 2));
    Add("XFSB");
    for (const char *choice : {"", "#1"}) {
        const Opened opened = Open(choice);
        EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
        EXPECT_EQ(opened.detail, "it holds a LUKS volume, 4 MiB: open it with cryptsetup; an XFS "
                                 "file system, 4 MiB: mount it on Linux");
    }
}

TEST_F(DiskList, AReFsVolumeThatWasChosenIsNamed)
{
    Add(MakeFat(""));
    Add(std::string("\xEB\x52\x90ReFS"));
    EXPECT_EQ(Open("#2").detail, "it is a ReFS file system: open it on a Windows computer");
}

// --- Disks of Windows that are more than one

TEST_F(DiskList, PartitionsOfAStoragePoolAndOfADynamicDiskAreToldByTheirType)
{
    disk.PutMbr(0, 0, 0xEE, 1, 1000);
    for (const auto &[entry, type] : {std::pair{size_t{0}, kStorageSpaces}, {1, kLdmData}}) {
        const size_t at = 2 * kSector + 128 * entry;
        disk.PutGptEntry(at, (1 + 5 * entry) * kSectorsOfMiB, (5 + 5 * entry) * kSectorsOfMiB - 1);
        disk.PutGptType(at, type);
    }
    disk.PutGpt({});
    EXPECT_EQ(Open().detail,
              "it holds a part of a storage pool of Windows, 4 MiB: attach all of its disks to a "
              "Windows computer; a part of a Windows dynamic disk, 4 MiB: attach all of its disks "
              "to a Windows computer");
}

TEST_F(DiskList, AVolumeOfADynamicDiskOpensWithAWarning)
{
    Add(MakeFat(""), kDynamic);
    const Opened opened = Open();
    EXPECT_EQ(opened.status, Status::kSuccess);
    EXPECT_EQ(opened.detail, "it is a volume of a Windows dynamic disk; if it is made of several "
                             "pieces, its files are wrong");
}

// Its other half would be read from whatever follows.
TEST_F(DiskList, AVolumeOfADynamicDiskThatIsLongerThanItsPartitionDoesNotOpen)
{
    ASSERT_TRUE(image.MakeFat(8, ""));
    Add(image.Folder().ReadFile("image"), kDynamic);
    const Opened opened = Open();
    EXPECT_EQ(opened.status, Status::kFileSystemNotSupported);
    EXPECT_EQ(opened.detail,
              "it is a volume of a Windows dynamic disk that continues on another disk: "
              "attach all of its disks to a Windows computer");
}

// --- Damaged tables

class DiskWithBackup : public DiskList {
protected:
    // Each of the volumes has 4 MiB and a place in both tables, of which the first is damaged if
    // isDamaged.
    Opened OpenWith(size_t volumes, bool isDamaged)
    {
        const size_t last = disk.Bytes().size() / kSector - 1;
        disk.PutMbr(0, 0, 0xEE, 1, static_cast<uint32_t>(last));
        for (size_t i = 0; i < volumes; ++i) {
            const size_t sector = (1 + 5 * i) * kSectorsOfMiB;
            disk.PutText(sector * kSector, MakeFat(""));
            for (const size_t entries : {size_t{2}, last - 1})
                disk.PutGptEntry(entries * kSector + 128 * i, sector,
                                 sector + 4 * kSectorsOfMiB - 1);
        }
        disk.PutGpt({1, last, 2});
        disk.PutGpt({last, 1, last - 1});
        if (isDamaged)
            disk.Put(2 * kSector + 32, 5, 8);
        return Open();
    }
};

constexpr const char *kBackupNote =
    "the first table of partitions is damaged; its backup at the end of the disk was used";

TEST_F(DiskWithBackup, AVolumeThatWasFoundByTheBackupOpensWithAWarning)
{
    EXPECT_EQ(OpenWith(1, false).detail, "");
    const Opened opened = OpenWith(1, true);
    EXPECT_EQ(opened.status, Status::kSuccess);
    EXPECT_EQ(opened.detail, kBackupNote);
}

TEST_F(DiskWithBackup, AListThatWasReadFromTheBackupSaysSo)
{
    const Opened opened = OpenWith(2, true);
    EXPECT_EQ(opened.status, Status::kSeveralVolumes);
    EXPECT_EQ(opened.detail, std::string("1: FAT, 4 MiB; 2: FAT, 4 MiB; ") + kBackupNote);
}

// --- Disks that lost their end

class CutDisk : public DiskWithBackup {
protected:
    // Only the backup of the table is lost.
    Opened OpenCut(size_t volumes, const std::string &choice)
    {
        OpenWith(volumes, false);
        disk.Bytes().resize(disk.Bytes().size() - (size_t{1} << 20));
        return Open(choice);
    }
};

constexpr const char *kCutNote = "the image or device ends before the backup of the table of "
                                 "partitions; the first table was used";

TEST_F(CutDisk, AVolumeOfItOpensWithAWarning)
{
    for (const char *choice : {"", "#1"}) {
        const Opened opened = OpenCut(1, choice);
        EXPECT_EQ(opened.status, Status::kSuccess);
        EXPECT_EQ(opened.detail, kCutNote);
    }
}

TEST_F(CutDisk, AListOfItsVolumesSaysSo)
{
    const Opened opened = OpenCut(2, "");
    EXPECT_EQ(opened.status, Status::kSeveralVolumes);
    EXPECT_EQ(opened.detail, std::string("1: FAT, 4 MiB; 2: FAT, 4 MiB; ") + kCutNote);
}

TEST_F(CutDisk, TheProgramPrintsTheWarningOnce)
{
    OpenCut(1, "");
    const std::string path = image.At("disk");
    ASSERT_TRUE(
        RunShell(VX_TOOL " --list " + Quoted(path + "#1") + " 2>" + Quoted(image.At("errors"))));
    EXPECT_EQ(image.Folder().ReadFile("errors"),
              "volume-export: warning: " + path + "#1: " + kCutNote + "\n");
}

}  // namespace
}  // namespace vx
