// Partition tables, written byte by byte: each entry leads to a sector that looks like a volume.
#include "DiskWriter.h"

#include "DiskVolumes.h"
#include "OpenSource.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr size_t kSector = DiskWriter::kSector;
constexpr uint8_t kNtfs = 0x07;
constexpr uint8_t kExtended = 0x05;

std::vector<uint64_t> SectorsOf(const std::vector<DiskVolume> &partitions)
{
    std::vector<uint64_t> sectors;
    sectors.reserve(partitions.size());
    for (const DiskVolume &partition : partitions)
        sectors.push_back(partition.offset / kSector);
    return sectors;
}

std::vector<DiskVolume> VolumesOf(const DiskWriter &disk)
{
    return DiskVolumes::Read(SourceOf(disk.Bytes())).volumes;
}

using Sectors = std::vector<uint64_t>;

TEST(PartitionTables, PartitionsAreListedAsTheyLieOnTheDisk)
{
    DiskWriter disk(100);
    for (const size_t sector : {10U, 20U, 41U, 51U})
        disk.PutVolume(sector);
    disk.PutMbr(0, 0, kNtfs, 20, 5);
    disk.PutMbr(0, 1, kExtended, 40, 60);
    disk.PutMbr(0, 2, kNtfs, 10, 5);
    disk.PutMbr(40, 0, kNtfs, 1, 5);
    disk.PutMbr(40, 1, kExtended, 10, 10);
    disk.PutMbr(50, 0, kNtfs, 1, 5);
    EXPECT_EQ(SectorsOf(VolumesOf(disk)), (Sectors{10, 20, 41, 51}));
}

TEST(PartitionTables, ExtendedPartitionsThatGoInCirclesEnd)
{
    DiskWriter disk(100);
    disk.PutVolume(41);
    disk.PutMbr(0, 0, kExtended, 40, 60);
    disk.PutMbr(40, 0, kNtfs, 1, 5);
    disk.PutMbr(40, 1, kExtended, 10, 10);
    disk.PutMbr(50, 1, kExtended, 0, 10);
    EXPECT_EQ(SectorsOf(VolumesOf(disk)), Sectors{41});
}

TEST(PartitionTables, AChainLongerThanThatOfAnyDiskEnds)
{
    constexpr uint32_t kLinks = 20000;
    DiskWriter disk(2 * kLinks + 10);
    disk.PutMbr(0, 0, kExtended, 1, 2 * kLinks);
    for (uint32_t i = 0; i < kLinks; ++i) {
        disk.PutVolume(2 * i + 2);
        disk.PutMbr(2 * i + 1, 0, kNtfs, 1, 1);
        disk.PutMbr(2 * i + 1, 1, kExtended, 2 * i + 2, 2);
    }
    const auto partitions = VolumesOf(disk);
    EXPECT_GT(partitions.size(), 100u);
    EXPECT_LT(partitions.size(), 1000u);
}

TEST(PartitionTables, PartitionsThatDoNotLieOnTheDiskAreNotListed)
{
    DiskWriter disk(100);
    disk.PutVolume(10);
    disk.PutMbr(0, 0, kNtfs, 10, 0xFFFFFFFF);  // its beginning does
    disk.PutMbr(0, 1, kNtfs, 0xFFFFFFFF, 5);
    disk.PutMbr(0, 2, kExtended, 0xFFFFFFFF, 5);
    disk.PutMbr(0, 3, kNtfs, 10, 0);
    EXPECT_EQ(SectorsOf(VolumesOf(disk)), Sectors{10});
}

}  // namespace
}  // namespace vx
