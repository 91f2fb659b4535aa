// Fuzz target: the tables of partitions of a disk. An input is the disk, from its first sector on.
#include "../HeapLimit.h"
#include "../Require.h"
#include "Image/PartitionTable.h"

#include "Bitlocker/MemoryByteSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const HeapLimit limit;
    const auto disk =
        std::make_shared<bitlocker::MemoryByteSource>(std::vector<uint8_t>(data, data + size));
    bitlocker::Error unread;
    const std::vector<Partition> partitions = PartitionTable::Read(disk, &unread);
    for (const Partition &partition : partitions) {
        Require(partition.offset < size, "a partition begins on the disk");
        Require(partition.kind != FileSystemKind::kUnknown, "a partition holds something");
    }
    (void)PartitionTable::Describe(partitions);
    return 0;
}
