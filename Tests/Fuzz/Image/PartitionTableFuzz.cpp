// Fuzz target: the partition tables of a disk, and its description. An input is the disk.
#include "../HeapLimit.h"
#include "../Require.h"
#include "Container.h"
#include "DiskDescription.h"
#include "DiskVolumes.h"
#include "KnownContents.h"
#include "VolumeChoice.h"

#include "MemoryByteSource.h"

using namespace vx;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const HeapLimit limit;
    const auto disk = std::make_shared<MemoryByteSource>(std::vector<uint8_t>(data, data + size));
    const DiskVolumes table = DiskVolumes::Read(disk);
    for (const DiskVolume &partition : table.volumes) {
        Require(partition.offset < size, "a partition begins on the disk");
        Require(partition.kind != FileSystemKind::kUnknown, "a partition holds something");
    }
    for (const DiskVolume &partition : table.others)
        Require(partition.offset < size, "a partition begins on the disk");
    (void)table.DescribeVolumes(disk);
    (void)table.DescribeOthers(disk);
    (void)KnownContents::Find(*disk);
    const Container container = {disk};
    const auto described = DescribeDiskContents(container, {"", 0, {}});
    Require(!described || (*described)->volumeCount <= 2 * DiskVolumes::kMostPartitions,
            "a disk has no more partitions than are listed");
    return 0;
}
