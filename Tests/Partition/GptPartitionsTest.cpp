// GUID partition tables, written byte by byte: one or both are damaged or cannot be read.
#include "DiskWriter.h"

#include "DiskVolumes.h"
#include "OpenSource.h"
#include "SourceWithHole.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr size_t kSectors = 400;
constexpr uint8_t kNtfs = 0x07;
using Sectors = std::vector<uint64_t>;

// Where the volumes lie according to the table, in sectors of 512 bytes.
Sectors SectorsOf(const DiskVolumes &table)
{
    Sectors sectors;
    for (const DiskVolume &partition : table.volumes)
        sectors.push_back(partition.offset / DiskWriter::kSector);
    return sectors;
}

DiskVolumes Read(const DiskWriter &disk)
{
    return DiskVolumes::Read(SourceOf(disk.Bytes()));
}

bool Contains(const std::string &text, const char *part)
{
    return text.find(part) != std::string::npos;
}

// A disk with two tables that lead to volumes in sectors 160 and 240.
struct Disk : DiskWriter {
    explicit Disk(size_t bytesOfSector = kSector)
        : DiskWriter(kSectors),
          sectorBytes(bytesOfSector),
          last(kSectors * kSector / bytesOfSector - 1)
    {
        PutMbr(0, 0, 0xEE, 1, static_cast<uint32_t>(last));
        for (const uint64_t entries : {uint64_t{2}, last - 1}) {
            PutGptEntry(At(entries), 160 * kSector / sectorBytes, 170 * kSector / sectorBytes);
            PutGptEntry(At(entries) + 128, 240 * kSector / sectorBytes,
                        250 * kSector / sectorBytes);
        }
        PutVolume(160);
        PutVolume(240);
        PutGpt({1, last, 2, 4, 128, sectorBytes});
        PutGpt({last, 1, last - 1, 4, 128, sectorBytes});
    }

    size_t At(uint64_t sector) const { return static_cast<size_t>(sector) * sectorBytes; }
    void Damage(size_t at) { Bytes()[at] ^= 0x40; }

    const size_t sectorBytes;
    const uint64_t last;
};

const Sectors kBoth = {160, 240};
constexpr const char *kCutNote = "the image or device ends before the backup of the table of "
                                 "partitions; the first table was used";
constexpr const char *kDamagedNote = "the first table of partitions is damaged, and there is no "
                                     "sound backup of it; the first table was used";

class EachSectorSize : public testing::TestWithParam<size_t> {};

TEST_P(EachSectorSize, OfTwoSoundTablesNothingIsNoted)
{
    const DiskVolumes table = Read(Disk(GetParam()));
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, "");
}

TEST_P(EachSectorSize, AHeaderWithAWrongChecksumGivesWayToTheBackup)
{
    Disk disk(GetParam());
    disk.Put(disk.At(1) + 72, 3, 8);  // the sector of the entries
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, "the first table of partitions is damaged; its backup at the end of the "
                          "disk was used");
}

TEST_P(EachSectorSize, EntriesWithAWrongChecksumGiveWayToTheBackup)
{
    Disk disk(GetParam());
    disk.Put(disk.At(2) + 32, 3, 8);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_TRUE(Contains(table.note, "is damaged; its backup")) << table.note;
}

TEST_P(EachSectorSize, AHeaderThatIsGoneGivesWayToTheBackup)
{
    Disk disk(GetParam());
    disk.PutText(disk.At(1), std::string(disk.sectorBytes, '\0'));
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_TRUE(Contains(table.note, "is damaged; its backup")) << table.note;
}

TEST_P(EachSectorSize, FirstSectorsThatCannotBeReadGiveWayToTheBackup)
{
    const Disk disk(GetParam());
    const auto failing = std::make_shared<SourceWithHole>(disk.Bytes(), 0, disk.At(4));
    const DiskVolumes table = DiskVolumes::Read(failing);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, "the first table of partitions cannot be read; its backup at the end of "
                          "the disk was used");
    EXPECT_FALSE(table.unread);
}

TEST_P(EachSectorSize, ADiskThatLostItsEndNeedsNoBackup)
{
    Disk disk(GetParam());
    disk.Bytes().resize(300 * DiskWriter::kSector);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, kCutNote);
}

TEST_P(EachSectorSize, ADiskThatLostOnlyItsLastSectorIsReportedAsWell)
{
    Disk disk(GetParam());
    disk.Bytes().resize(disk.At(disk.last));
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, kCutNote);
}

TEST_P(EachSectorSize, ADiskInALongerImageIsComplete)
{
    Disk disk(GetParam());
    disk.Bytes().append(100 * DiskWriter::kSector + 1, '\0');
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, "");
}

TEST_P(EachSectorSize, TheBackupOfADiskInALongerImageIsFoundWhereTheFirstTableSays)
{
    Disk disk(GetParam());
    disk.Bytes().append(100 * DiskWriter::kSector, '\0');
    disk.Put(disk.At(2) + 32, 3, 8);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_TRUE(Contains(table.note, "its backup")) << table.note;
}

TEST_P(EachSectorSize, WithoutASoundTableTheFirstOneIsUsedWithAWarning)
{
    Disk disk(GetParam());
    disk.Damage(disk.At(2) + 300);  // an entry that is not used
    disk.Damage(disk.At(disk.last - 1) + 300);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, kDamagedNote);
}

TEST_P(EachSectorSize, OfTwoDamagedTablesTheOneWithFewerFaultsIsUsed)
{
    Disk disk(GetParam());
    disk.Put(disk.At(1) + 72, 3, 8);
    disk.Damage(disk.At(disk.last - 1) + 300);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_TRUE(Contains(table.note, "whose checksums are wrong")) << table.note;
}

TEST_P(EachSectorSize, ADamagedTableOfADiskThatLostItsEndIsUsedWithAWarning)
{
    Disk disk(GetParam());
    disk.Damage(disk.At(1) + 60);  // in the disk's GUID
    disk.Bytes().resize(300 * DiskWriter::kSector);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), kBoth);
    EXPECT_EQ(table.note, kDamagedNote);
}

INSTANTIATE_TEST_SUITE_P(GptPartitions, EachSectorSize, testing::Values(512, 4096),
                         [](const auto &tested) { return std::to_string(tested.param); });

TEST(GptPartitions, EntriesThatCannotBeReadAndHaveNoBackupAreLeftOutAndReported)
{
    Disk disk;
    disk.PutGptEntry(disk.At(2) + 512, 300, 310);
    disk.PutVolume(300);
    disk.PutGpt({1, disk.last, 2, 5});
    disk.Bytes().resize(390 * DiskWriter::kSector);
    const auto failing = std::make_shared<SourceWithHole>(disk.Bytes(), disk.At(2), disk.At(3));
    const DiskVolumes table = DiskVolumes::Read(failing);
    EXPECT_EQ(SectorsOf(table), Sectors{300});
    EXPECT_EQ(table.unread.status, Status::kSystemError);
}

// Such as that of a guest's disk in an image of fixed size that is not raw.
TEST(GptPartitions, ABackupThatDoesNotLieWhereItSaysIsNone)
{
    Disk disk;
    disk.PutText(0, std::string(4 * DiskWriter::kSector, '\0'));
    disk.Bytes().insert(0, DiskWriter::kSector, '\0');
    disk.PutGptEntry(disk.At(disk.last - 1), 160, 170);  // where it would lead
    disk.PutVolume(160);
    EXPECT_TRUE(Read(disk).volumes.empty());
}

TEST(GptPartitions, ABackupThatWasLeftBehindGivesWayToTheMbrThatWasMadeAfterIt)
{
    Disk disk;
    disk.PutText(disk.At(1), std::string(DiskWriter::kSector, '\0'));
    disk.PutMbr(0, 0, kNtfs, 300, 10);
    disk.PutVolume(300);
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), Sectors{300});
    EXPECT_EQ(table.note, "");
    disk.PutText(300 * DiskWriter::kSector, std::string(DiskWriter::kSector, '\0'));
    EXPECT_EQ(SectorsOf(Read(disk)), kBoth);
}

TEST(GptPartitions, ItIsPreferredToTheMbrAndItsNamesAreTold)
{
    DiskWriter disk(kSectors);
    disk.PutVolume(40);
    disk.PutVolume(50);
    disk.PutMbr(0, 0, 0xEE, 1, 99);
    disk.PutGptEntry(2 * DiskWriter::kSector, 50, 59, "Sec\x9Bond");
    disk.PutGptEntry(2 * DiskWriter::kSector + 128, 40, 49, "First\033[31m");
    disk.PutGpt({});
    const DiskVolumes table = Read(disk);
    EXPECT_EQ(SectorsOf(table), (Sectors{40, 50}));
    EXPECT_EQ(table.volumes[0].size, 10 * DiskWriter::kSector);
    EXPECT_EQ(table.DescribeVolumes(SourceOf(disk.Bytes())),
              "1: NTFS, 5120 bytes (First[31m); 2: NTFS, 5120 bytes (Second)");
}

TEST(GptPartitions, NumbersThatLieAreNotBelieved)
{
    constexpr uint64_t kHighest = ~uint64_t{0};
    constexpr size_t kSector = DiskWriter::kSector;
    for (const uint64_t entries : {uint64_t{2}, uint64_t{99}, kHighest, kHighest / kSector}) {
        for (const uint32_t count : {0U, 2U, 1024U, 0xFFFFFFFFU}) {
            for (const uint32_t stride : {0U, 1U, 128U, 0xFFFFFFFFU}) {
                DiskWriter disk(kSectors);
                disk.PutGptEntry(2 * kSector, 0, kHighest);
                disk.PutGptEntry(2 * kSector + 128, kHighest, kHighest);
                disk.PutGpt({1, 0, entries, count, stride});
                EXPECT_TRUE(Read(disk).volumes.empty());
            }
        }
    }
}

}  // namespace
}  // namespace vx
