// Disks of which a sector cannot be read: the answer says so, and the other volumes keep their
// numbers.
#include "ByteReader.h"
#include "FatImage.h"
#include "SourceWithHole.h"
#include "TestImage.h"
#include "VolumeOpener.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kMiB = size_t{1} << 20;
constexpr VolumeLibraryStatus kFailed = VolumeLibraryStatus::kReadFailed;

class FailingDisk : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
    }

    void MakeFat()
    {
        ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1"));
        ASSERT_TRUE(image.FillFat({{"a", "contents"}}));
    }

    void Take() { disk = std::make_shared<SourceWithHole>(image.Folder().ReadFile("image")); }

    void MakeBad(size_t at, size_t count = kSector) const { disk->MoveHole(at, at + count); }

    VolumeLibraryStatus Open(size_t number = 0, UnlockKind unlock = UnlockKind::kNone,
                             const char *secret = "")
    {
        Opened opened = OpenDiskOf(disk, number, unlock, secret);
        detail = std::move(opened.detail);
        return opened.status;
    }

    VolumeLibraryStatus OpenWithPassword(size_t number = 0)
    {
        return Open(number, UnlockKind::kPassword, "correct");
    }

    const TestImage image{};
    std::shared_ptr<SourceWithHole> disk;
    std::string detail;
};

TEST_F(FailingDisk, AFirstSectorThatCannotBeReadIsAReadError)
{
    MakeFat();
    Take();
    MakeBad(0);
    EXPECT_EQ(Open(), kFailed) << detail;
    EXPECT_EQ(OpenWithPassword(), kFailed) << detail;
}

TEST_F(FailingDisk, AnAllocationTableThatCannotBeReadIsAReadError)
{
    MakeFat();
    Take();
    MakeBad(kSector, 130 * kSector);  // both copies
    EXPECT_EQ(Open(), kFailed) << detail;
    EXPECT_NE(detail.find("bad sector"), std::string::npos) << detail;
}

TEST_F(FailingDisk, ARootFolderThatCannotBeReadIsAReadError)
{
    MakeFat();
    Take();
    const FatImage fat(disk->Bytes());
    MakeBad(fat.geometry.rootOffset, fat.geometry.rootBytes);
    EXPECT_EQ(Open(), kFailed) << detail;
}

TEST_F(FailingDisk, ABadSectorNearADamagedTableMakesItNoReadError)
{
    MakeFat();
    std::string bytes = image.Folder().ReadFile("image");
    const std::string bad = NoiseBytes(4096, 9);
    const FatGeometry fat = FatImage(bytes).geometry;
    for (unsigned copy = 0; copy < fat.tableCopies; ++copy)
        bytes.replace(fat.tableOffset + copy * fat.tableBytes, bad.size(), bad);
    disk = std::make_shared<SourceWithHole>(std::move(bytes));
    MakeBad(20 * kSector);
    EXPECT_EQ(Open(), VolumeLibraryStatus::kFileSystemDamaged) << detail;
}

TEST_F(FailingDisk, ATableOfFilesThatCannotBeReadIsAReadError)
{
    VX_NEEDS("mkntfs");
    ASSERT_TRUE(image.MakeNtfs(16, "-c 4096"));
    Take();
    // From its first record to the mirror of that.
    const size_t table = static_cast<uint8_t>(disk->Bytes().at(48));
    const std::string &bytes = disk->Bytes();
    const size_t mirror =
        U16At({reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()}, 56);
    ASSERT_LT(table, mirror);
    MakeBad(table * 4096, (mirror - table + 1) * 4096);
    EXPECT_EQ(Open(), kFailed) << detail;
}

TEST_F(FailingDisk, RelocatedSectorsThatCannotBeReadAreAReadError)
{
    MakeFat();
    ASSERT_TRUE(image.Encrypt("--password correct"));
    Take();
    const auto secret = bitlocker::Secret::FromPassword("correct");
    const auto opened = bitlocker::VolumeOpener(disk).Open(*secret);
    ASSERT_TRUE(opened);
    const uint64_t at = opened->facts.metadataOffset;
    std::vector<uint8_t> area(bitlocker::MetadataBlock::kAreaSize);
    ASSERT_FALSE(disk->ReadAt(at, area.data(), area.size()));
    const auto block = bitlocker::MetadataBlock::Parse(area, at);
    ASSERT_TRUE(block);
    MakeBad(block->relocationOffset);
    EXPECT_EQ(OpenWithPassword(), kFailed) << detail;
}

TEST_F(FailingDisk, OnlyTheSectorsThatAreMissingFromACutImageAreTruncated)
{
    VX_NEEDS("mkntfs");
    ASSERT_TRUE(image.MakeNtfs(16, "-c 4096"));
    const std::string whole = image.Folder().ReadFile("image");
    disk = std::make_shared<SourceWithHole>(whole.substr(0, 8192));
    EXPECT_EQ(Open(), VolumeLibraryStatus::kImageTruncated) << detail;
    std::string damaged = whole;
    const std::string faraway("\xF0\x0F\0\0\0\0\0\0", 8);
    damaged.replace(48, 8, faraway);
    damaged.replace(damaged.size() - kSector + 48, 8, faraway);
    disk = std::make_shared<SourceWithHole>(damaged);
    EXPECT_EQ(Open(), VolumeLibraryStatus::kFileSystemDamaged) << detail;
}

// Two encrypted volumes, with different passwords, and a plain one after them.
class FailingTables : public FailingDisk, public testing::WithParamInterface<const char *> {
protected:
    static constexpr size_t kFirst = 1 * kMiB;
    static constexpr size_t kSecond = 14 * kMiB;
    static constexpr size_t kThird = 28 * kMiB;

    void SetUp() override
    {
        VX_NEEDS("sfdisk");
        FailingDisk::SetUp();
        MakeFat();
        const std::string plain = image.Folder().ReadFile("image");
        ASSERT_TRUE(image.Encrypt("--password other"));
        const std::string first = image.Folder().ReadFile("image");
        image.Folder().WriteFile("image", plain);
        ASSERT_TRUE(image.Encrypt("--password correct"));
        const std::string second = image.Folder().ReadFile("image");
        ASSERT_LE(std::max(first.size(), second.size()), 13 * kMiB);
        ASSERT_TRUE(RunShell("cd " + Quoted(image.At("")) + " && truncate -s 40M empty && " +
                             "printf 'label: " + GetParam() +
                             "\nstart=2048,size=26624\nstart=28672,size=28672\n" +
                             "start=57344,size=20480\n' | sfdisk -q empty"));
        std::string bytes = image.Folder().ReadFile("empty");
        bytes.replace(kFirst, first.size(), first);
        bytes.replace(kSecond, second.size(), second);
        bytes.replace(kThird, plain.size(), plain);
        disk = std::make_shared<SourceWithHole>(std::move(bytes));
    }
};

TEST_P(FailingTables, AVolumeThatCannotBeReadKeepsItsNumber)
{
    MakeBad(kFirst);
    EXPECT_EQ(OpenWithPassword(2), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(OpenWithPassword(1), VolumeLibraryStatus::kWrongSecret) << detail;
    EXPECT_EQ(Open(1, UnlockKind::kPassword, "other"), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(Open(1), kFailed) << detail;
    EXPECT_EQ(Open(3), VolumeLibraryStatus::kSuccess) << detail;
}

TEST_P(FailingTables, NoOtherVolumeIsOpenedInsteadWithoutAsking)
{
    MakeBad(kFirst);
    EXPECT_EQ(OpenWithPassword(), VolumeLibraryStatus::kSeveralVolumes);
    EXPECT_EQ(detail.rfind("1: unreadable, 13 MiB", 0), 0u) << detail;
    EXPECT_NE(detail.find("2: encrypted, 14 MiB"), std::string::npos) << detail;
}

TEST_P(FailingTables, ATableThatCannotBeReadIsAReadError)
{
    MakeBad(0, 34 * kSector);
    if (std::string(GetParam()) == "gpt")  // has another one at the end of the disk
        EXPECT_EQ(OpenWithPassword(2), VolumeLibraryStatus::kSuccess) << detail;
    else
        EXPECT_EQ(OpenWithPassword(2), kFailed) << detail;
}

TEST_P(FailingTables, AVolumeThatTheImageNoLongerHasIsTruncated)
{
    disk = std::make_shared<SourceWithHole>(disk->Bytes().substr(0, kThird));
    EXPECT_EQ(OpenWithPassword(2), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(Open(3), VolumeLibraryStatus::kImageTruncated) << detail;
}

INSTANTIATE_TEST_SUITE_P(FailingDisk, FailingTables, testing::Values("dos", "gpt"),
                         [](const auto &tested) { return std::string(tested.param); });

TEST_F(FailingDisk, AnExtendedPartitionThatCannotBeReadIsToldWithTheList)
{
    VX_NEEDS("sfdisk");
    MakeFat();
    const std::string plain = image.Folder().ReadFile("image");
    ASSERT_TRUE(
        RunShell("cd " + Quoted(image.At("")) +
                 " && truncate -s 40M empty && printf 'label: dos\n1: start=2048,size=20480\n"
                 "2: start=24576,size=50000,type=5\n5: start=26624,size=20480\n' "
                 "| sfdisk -q empty"));
    std::string bytes = image.Folder().ReadFile("empty");
    bytes.replace(1 * kMiB, plain.size(), plain);
    bytes.replace(13 * kMiB, plain.size(), plain);
    disk = std::make_shared<SourceWithHole>(std::move(bytes));
    EXPECT_EQ(Open(2), VolumeLibraryStatus::kSuccess) << detail;
    MakeBad(12 * kMiB);
    EXPECT_EQ(Open(), VolumeLibraryStatus::kSeveralVolumes);
    EXPECT_NE(detail.find("there may be more"), std::string::npos) << detail;
    EXPECT_EQ(Open(1), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_EQ(Open(2), kFailed) << detail;
}

}  // namespace
}  // namespace vx
