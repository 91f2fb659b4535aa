// Which disks are listed, and what is said of them.
#include "DeviceNameOrder.h"
#include "OrdinaryUser.h"
#include "StandInDisks.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sys/stat.h>

namespace vx {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kUsbBus[] = "pci0000:00/0000:00:14.0/usb2/2-1/host6/target6:0:0/6:0:0:0";

// A stick of 57.3 GiB with one partition, as the kernel and udev describe it.
void AddStick(StandInDisks *disks)
{
    disks->AddDisk(
        "sdb", "8:16", "120127488",
        {{"removable", "1"}, {"device/vendor", "Generic "}, {"device/model", "Flash Disk      "}},
        kUsbBus);
    disks->AddPartition("sdb", "sdb1", "8:17", "120125440");
    disks->SetUdev("8:16", "S:disk/by-id/usb\nE:ID_BUS=usb\nE:ID_PART_TABLE_TYPE=dos\n");
    disks->SetUdev("8:17", "E:ID_FS_TYPE=BitLocker\nE:ID_FS_USAGE=crypto\n");
}

TEST(AttachedDisks, AStickIsFollowedByItsEncryptedPartition)
{
    StandInDisks disks;
    AddStick(&disks);
    ASSERT_THAT(disks.Names(), ElementsAre("sdb", "sdb1"));
    const AttachedVolume disk = disks.Find("sdb");
    EXPECT_EQ(disk.path, disks.Device("sdb"));
    EXPECT_EQ(disk.disk, "");
    EXPECT_EQ(disk.diskName, "Generic Flash Disk");
    EXPECT_EQ(disk.bytes, 120127488u * uint64_t{512});
    EXPECT_TRUE(disk.isRemovable);
    EXPECT_FALSE(disk.isEncrypted);
    const AttachedVolume partition = disks.Find("sdb1");
    EXPECT_EQ(partition.disk, disks.Device("sdb"));
    EXPECT_EQ(partition.diskName, "Generic Flash Disk");
    EXPECT_EQ(partition.fileSystem, "bitlocker");
    EXPECT_EQ(partition.bytes, 120125440u * uint64_t{512});
    EXPECT_TRUE(partition.isEncrypted);
    EXPECT_TRUE(partition.isRemovable);
    EXPECT_FALSE(partition.isSystem);
}

TEST(AttachedDisks, AnNvmeDiskHasLabelsOfItsFileSystemsAndItsTable)
{
    StandInDisks disks;
    disks.AddDisk("nvme0n1", "259:0", "1000215216",
                  {{"removable", "0"}, {"device/model", "Fast SSD 970  "}});
    disks.SetUdev("259:0", "E:ID_PART_TABLE_TYPE=gpt\n");
    disks.AddPartition("nvme0n1", "nvme0n1p10", "259:3", "4096");
    disks.AddPartition("nvme0n1", "nvme0n1p1", "259:1", "204800");
    disks.AddPartition("nvme0n1", "nvme0n1p2", "259:2", "999000000");
    disks.SetUdev("259:1", "E:ID_FS_TYPE=vfat\nE:ID_FS_LABEL=EFI_DISK\n"
                           "E:ID_FS_LABEL_ENC=EFI\\x20DISK\nE:ID_PART_ENTRY_NAME=ignored\n");
    disks.SetUdev("259:2", "E:ID_FS_TYPE=ntfs\n"
                           "E:ID_PART_ENTRY_NAME=Basic\\x20data\\x20partition\n");
    ASSERT_THAT(disks.Names(), ElementsAre("nvme0n1", "nvme0n1p1", "nvme0n1p2", "nvme0n1p10"));
    EXPECT_EQ(disks.Find("nvme0n1").diskName, "Fast SSD 970");
    EXPECT_EQ(disks.Find("nvme0n1p1").label, "EFI DISK");
    EXPECT_EQ(disks.Find("nvme0n1p2").label, "Basic data partition");
    EXPECT_EQ(disks.Find("nvme0n1p2").fileSystem, "ntfs");
    EXPECT_FALSE(disks.Find("nvme0n1p2").isEncrypted);
    EXPECT_FALSE(disks.Find("nvme0n1").isRemovable);
}

TEST(AttachedDisks, WhatIsNoDiskIsLeftOut)
{
    StandInDisks disks;
    disks.AddDisk("sdc", "8:32", "0", {{"removable", "1"}});  // a card reader without a card
    disks.AddDisk("zram0", "253:0", "8388608");
    disks.AddDisk("ram0", "1:0", "8192");
    disks.AddDisk("loop0", "7:0", "0");
    disks.AddDisk("loop1", "7:1", "20480");  // no file
    disks.AddDisk("sr0", "11:0", "2097151", {{"removable", "1"}});
    disks.AddDisk("nvme0c0n1", "259:9", "4096", {{"hidden", "1"}});
    disks.AddDisk("loop2", "7:2", "20480", {{"loop/backing_file", "/var/lib/snapd/a.snap"}});
    disks.SetUdev("7:2", "E:ID_FS_TYPE=squashfs\n");
    EXPECT_THAT(disks.Names(), IsEmpty());
}

TEST(AttachedDisks, AnExtendedPartitionIsLeftOutAndItsContentsStay)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "100000");
    disks.AddPartition("sda", "sda2", "8:2", "2");
    disks.AddPartition("sda", "sda5", "8:5", "50000");
    EXPECT_THAT(disks.Names(), ElementsAre("sda", "sda5"));
}

TEST(AttachedDisks, ADiskWithoutADeviceFileIsLeftOut)
{
    StandInDisks disks;
    AddStick(&disks);
    unlink(disks.Device("sdb1").c_str());
    EXPECT_THAT(disks.Names(), ElementsAre("sdb"));
}

TEST(AttachedDisks, ALoopDeviceShowsItsFileAndAMappedOneItsName)
{
    StandInDisks disks;
    disks.AddDisk("loop3", "7:3", "20480", {{"loop/backing_file", "/home/anna/old disk.img"}});
    disks.AddDisk("dm-0", "254:0", "20480", {{"dm/name", "vault-home"}});
    EXPECT_EQ(disks.Find("loop3").diskName, "/home/anna/old disk.img");
    EXPECT_EQ(disks.Find("dm-0").diskName, "vault-home");
}

TEST(AttachedDisks, AVendorThatIsNoNameIsNotShown)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096",
                  {{"device/vendor", "ATA     "}, {"device/model", "Disk X"}});
    disks.AddDisk("vda", "254:0", "4096", {{"device/vendor", "0x1af4"}});
    EXPECT_EQ(disks.Find("sda").diskName, "Disk X");
    EXPECT_EQ(disks.Find("vda").diskName, "");
}

TEST(AttachedDisks, ADiskInAUsbCaseAndACardAreRemovable)
{
    StandInDisks disks;
    disks.AddDisk("sdd", "8:48", "4096", {{"removable", "0"}}, kUsbBus);
    disks.AddDisk("mmcblk0", "179:0", "4096",
                  {{"removable", "0"}, {"device/type", "SD"}, {"device/name", "SC64G"}});
    disks.AddDisk("mmcblk1", "179:8", "4096", {{"removable", "0"}, {"device/type", "MMC"}});
    EXPECT_TRUE(disks.Find("sdd").isRemovable);
    EXPECT_TRUE(disks.Find("mmcblk0").isRemovable);
    EXPECT_EQ(disks.Find("mmcblk0").diskName, "SC64G");
    EXPECT_FALSE(disks.Find("mmcblk1").isRemovable);
}

TEST(AttachedDisks, WhatTheSystemLivesOnIsMarkedThroughItsMappings)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "100000");
    disks.AddPartition("sda", "sda1", "8:1", "10000");
    disks.AddPartition("sda", "sda2", "8:2", "50000");
    disks.AddDisk("dm-0", "254:0", "40000", {{"slaves/dm-1/dev", "254:1"}});
    disks.AddDisk("dm-1", "254:1", "40000", {{"slaves/sda2/dev", "8:2"}});
    disks.AddDisk("sdb", "8:16", "100000");
    disks.AddPartition("sdb", "sdb1", "8:17", "90000");
    disks.AddDisk("sdc", "8:32", "100000");
    disks.SetMounts("22 1 254:0 / / rw,relatime shared:1 - ext4 /dev/mapper/none rw\n"
                    "23 1 8:17 / /media/stick rw - exfat /dev/sdb1 rw\n"
                    "24 1 0:40 /@home /home rw - btrfs /dev/sdc rw\n");
    EXPECT_TRUE(disks.Find("dm-0").isSystem);
    EXPECT_TRUE(disks.Find("sda2").isSystem);
    EXPECT_TRUE(disks.Find("sda").isSystem);
    EXPECT_TRUE(disks.Find("sdc").isSystem);
    EXPECT_FALSE(disks.Find("sda1").isSystem);
    EXPECT_FALSE(disks.Find("sdb").isSystem);
    EXPECT_FALSE(disks.Find("sdb1").isSystem);
}

TEST(AttachedDisks, MappingsThatLeadInACircleEnd)
{
    StandInDisks disks;
    disks.AddDisk("dm-0", "254:0", "4096", {{"slaves/dm-1/x", ""}});
    disks.AddDisk("dm-1", "254:1", "4096", {{"slaves/dm-0/x", ""}});
    disks.SetMounts("22 1 254:0 / / rw - ext4 /dev/x rw\n");
    EXPECT_TRUE(disks.Find("dm-1").isSystem);
}

TEST(AttachedDisks, ADeviceThatTheUserMayNotReadIsListedAsSuch)
{
    StandInDisks disks;
    AddStick(&disks);
    chmod(disks.Folder().Path().c_str(), 0755);
    chmod(disks.Device("sdb").c_str(), 0644);
    chmod(disks.Device("sdb1").c_str(), 0);
    const OrdinaryUser user;
    EXPECT_TRUE(disks.Find("sdb").isReadable);
    const AttachedVolume partition = disks.Find("sdb1");
    EXPECT_FALSE(partition.isReadable);
    EXPECT_TRUE(partition.isEncrypted);
}

TEST(AttachedDisks, WithoutUdevTheFirstSectorSaysWhatIsThere)
{
    StandInDisks disks;
    for (const char *name : {"sda", "sdb", "sdc", "sdd", "sde"})
        disks.AddDisk(name, std::string("8:") + name[2], "4096");
    const std::string rest(501, '\0');
    disks.SetDevice("sda", "\xEB\x58\x90-FVE-FS-" + rest);
    disks.SetDevice("sdb", "\xEB\x52\x90NTFS    " + rest);
    disks.SetDevice("sdc", "\xEB\x76\x90"
                           "EXFAT   " +
                               rest);
    disks.SetDevice("sdd", "\xEB\x58\x90-FVE-FS-");  // shorter than a sector
    std::string toGo = "\xEB\x58\x90MSWIN4.1" + rest;
    toGo.replace(424, 16, "\x3b\xd6\x67\x49\x29\x2e\xd8\x4a\x83\x99\xf6\xa3\x39\xe3\xd0\x01", 16);
    disks.SetDevice("sde", toGo);
    EXPECT_TRUE(disks.Find("sda").isEncrypted);
    EXPECT_EQ(disks.Find("sdb").fileSystem, "ntfs");
    EXPECT_EQ(disks.Find("sdc").fileSystem, "exfat");
    EXPECT_EQ(disks.Find("sdd").fileSystem, "");
    EXPECT_TRUE(disks.Find("sde").isEncrypted);
}

TEST(AttachedDisks, ATableOfPartitionsIsNotTakenForAFileSystem)
{
    StandInDisks disks;
    disks.AddDisk("sda", "8:0", "4096");
    disks.SetDevice("sda", "\xEB\x58\x90-FVE-FS-" + std::string(501, '\0'));
    disks.SetUdev("8:0", "E:ID_PART_TABLE_TYPE=gpt\n");
    EXPECT_FALSE(disks.Find("sda").isEncrypted);
}

TEST(DeviceNameOrder, FollowsTheNumbersOfTheKernel)
{
    std::vector<std::string> names = {"sdaa",    "sda10",     "sdz",    "sda9",
                                      "nvme0n1", "nvme0n1p2", "nvme10", "sda"};
    std::sort(names.begin(), names.end(), DeviceNameOrder());
    EXPECT_THAT(names, ElementsAre("sda", "sda9", "sda10", "sdz", "nvme0n1", "nvme0n1p2", "nvme10",
                                   "sdaa"));
    EXPECT_FALSE(DeviceNameOrder()("sda1", "sda1"));
}

}  // namespace
}  // namespace vx
