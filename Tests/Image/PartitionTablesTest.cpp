// Tables of partitions, written here byte by byte: each entry leads to a sector that looks like a
// volume.
#include "Image/Little.h"
#include "Image/PartitionTable.h"
#include "OpenSource.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr uint8_t kNtfs = 0x07;
constexpr uint8_t kExtended = 0x05;

class Disk {
public:
    explicit Disk(size_t sectors) : _bytes(sectors * kSector, '\0') {}

    void Put(size_t at, uint64_t value, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
            _bytes.at(at + i) = static_cast<char>(value >> (8 * i));
    }

    void PutVolume(size_t sector) { _bytes.replace(sector * kSector + 3, 8, "NTFS    "); }

    // An entry of the table in a sector of the first kind.
    void PutMbr(size_t sector, size_t entry, uint8_t type, uint32_t first, uint32_t sectors)
    {
        const size_t at = sector * kSector + 446 + 16 * entry;
        Put(at + 4, type, 1);
        Put(at + 8, first, 4);
        Put(at + 12, sectors, 4);
        Put(sector * kSector + 510, 0xAA55, 2);
    }

    void PutGpt(size_t header, uint64_t entries, uint32_t count, uint32_t stride = 128)
    {
        _bytes.replace(header * kSector, 8, "EFI PART");
        Put(header * kSector + 72, entries, 8);
        Put(header * kSector + 80, count, 4);
        Put(header * kSector + 84, stride, 4);
    }

    void PutGptEntry(size_t at, uint64_t first, uint64_t last, const std::string &name = "")
    {
        Put(at, 0x11, 1);
        Put(at + 32, first, 8);
        Put(at + 40, last, 8);
        for (size_t i = 0; i < name.size(); ++i)
            Put(at + 56 + 2 * i, static_cast<uint8_t>(name[i]), 2);
    }

    std::vector<Partition> Read() const
    {
        bitlocker::Error unread;
        return PartitionTable::Read(SourceOf(_bytes), &unread);
    }

private:
    std::string _bytes;
};

std::vector<uint64_t> SectorsOf(const std::vector<Partition> &partitions)
{
    std::vector<uint64_t> sectors;
    for (const Partition &partition : partitions)
        sectors.push_back(partition.offset / kSector);
    return sectors;
}

using Sectors = std::vector<uint64_t>;

TEST(PartitionTables, PartitionsAreListedAsTheyLieOnTheDisk)
{
    Disk disk(100);
    for (const size_t sector : {10U, 20U, 41U, 51U})
        disk.PutVolume(sector);
    disk.PutMbr(0, 0, kNtfs, 20, 5);
    disk.PutMbr(0, 1, kExtended, 40, 60);
    disk.PutMbr(0, 2, kNtfs, 10, 5);
    disk.PutMbr(40, 0, kNtfs, 1, 5);
    disk.PutMbr(40, 1, kExtended, 10, 10);
    disk.PutMbr(50, 0, kNtfs, 1, 5);
    EXPECT_EQ(SectorsOf(disk.Read()), (Sectors{10, 20, 41, 51}));
}

TEST(PartitionTables, ExtendedPartitionsThatGoInCirclesEnd)
{
    Disk disk(100);
    disk.PutVolume(41);
    disk.PutMbr(0, 0, kExtended, 40, 60);
    disk.PutMbr(40, 0, kNtfs, 1, 5);
    disk.PutMbr(40, 1, kExtended, 10, 10);
    disk.PutMbr(50, 1, kExtended, 0, 10);
    EXPECT_EQ(SectorsOf(disk.Read()), Sectors{41});
}

TEST(PartitionTables, AChainLongerThanThatOfAnyDiskEnds)
{
    constexpr uint32_t kLinks = 20000;
    Disk disk(2 * kLinks + 10);
    disk.PutMbr(0, 0, kExtended, 1, 2 * kLinks);
    for (uint32_t i = 0; i < kLinks; ++i) {
        disk.PutVolume(2 * i + 2);
        disk.PutMbr(2 * i + 1, 0, kNtfs, 1, 1);
        disk.PutMbr(2 * i + 1, 1, kExtended, 2 * i + 2, 2);
    }
    const auto partitions = disk.Read();
    EXPECT_GT(partitions.size(), 100u);
    EXPECT_LT(partitions.size(), 1000u);
}

TEST(PartitionTables, PartitionsThatDoNotLieOnTheDiskAreNotListed)
{
    Disk disk(100);
    disk.PutVolume(10);
    disk.PutMbr(0, 0, kNtfs, 10, 0xFFFFFFFF);  // its beginning does
    disk.PutMbr(0, 1, kNtfs, 0xFFFFFFFF, 5);
    disk.PutMbr(0, 2, kExtended, 0xFFFFFFFF, 5);
    disk.PutMbr(0, 3, kNtfs, 10, 0);
    EXPECT_EQ(SectorsOf(disk.Read()), Sectors{10});
}

TEST(PartitionTables, AGuidTableIsPreferredAndItsNamesAreTold)
{
    Disk disk(100);
    disk.PutVolume(40);
    disk.PutVolume(50);
    disk.PutMbr(0, 0, 0xEE, 1, 99);
    disk.PutGpt(1, 2, 128);
    disk.PutGptEntry(2 * kSector, 50, 59, "Second");
    disk.PutGptEntry(2 * kSector + 128, 40, 49, "First\033[31m");
    const auto partitions = disk.Read();
    EXPECT_EQ(SectorsOf(partitions), (Sectors{40, 50}));
    EXPECT_EQ(partitions[0].size, 10 * kSector);
    EXPECT_EQ(PartitionTable::Describe(partitions),
              "1: NTFS, 0 MiB (First[31m); 2: NTFS, 0 MiB (Second)");
}

TEST(PartitionTables, TheSecondGuidTableStandsInForADamagedFirstOne)
{
    Disk disk(200);
    disk.PutVolume(50);
    disk.PutMbr(0, 0, 0xEE, 1, 199);
    disk.PutGpt(199, 150, 128);
    disk.PutGptEntry(150 * kSector, 50, 59);
    EXPECT_EQ(SectorsOf(disk.Read()), Sectors{50});
}

TEST(PartitionTables, AGuidTableOfLargeSectorsIsFound)
{
    Disk disk(400);
    disk.PutVolume(80);
    disk.PutGpt(8, 2, 128);
    disk.PutGptEntry(16 * kSector, 10, 19);
    EXPECT_EQ(SectorsOf(disk.Read()), Sectors{80});
}

TEST(PartitionTables, NumbersThatLieInAGuidTableAreNotBelieved)
{
    constexpr uint64_t kHighest = ~uint64_t{0};
    for (const uint64_t entries : {uint64_t{2}, uint64_t{99}, kHighest, kHighest / kSector}) {
        for (const uint32_t count : {0U, 2U, 1024U, 0xFFFFFFFFU}) {
            for (const uint32_t stride : {0U, 1U, 128U, 0xFFFFFFFFU}) {
                Disk disk(100);
                disk.PutGpt(1, entries, count, stride);
                disk.PutGptEntry(2 * kSector, 0, kHighest);
                disk.PutGptEntry(2 * kSector + 128, kHighest, kHighest);
                EXPECT_TRUE(disk.Read().empty());
            }
        }
    }
}

}  // namespace
}  // namespace vx
