// Fuzz target: the tables of partitions of a disk. An input is the disk, from its first sector on.
#include "../HeapLimit.h"
#include "../Require.h"
#include "Image/KnownContents.h"
#include "Image/PartitionTable.h"

#include "Bitlocker/MemoryByteSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const HeapLimit limit;
    const auto disk =
        std::make_shared<bitlocker::MemoryByteSource>(std::vector<uint8_t>(data, data + size));
    const PartitionTable table = PartitionTable::Read(disk);
    for (const Partition &partition : table.volumes) {
        Require(partition.offset < size, "a partition begins on the disk");
        Require(partition.kind != FileSystemKind::kUnknown, "a partition holds something");
    }
    for (const Partition &partition : table.others)
        Require(partition.offset < size, "a partition begins on the disk");
    (void)table.DescribeVolumes(disk);
    (void)table.DescribeOthers(disk);
    (void)KnownContents::Find(*disk);
    return 0;
}
