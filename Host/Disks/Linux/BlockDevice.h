// A disk or a partition as the kernel describes it in a folder of sysfs.
//
// Source: Documentation/ABI/stable/sysfs-block and testing/sysfs-block-* of the Linux kernel.
// Threads: any. Errors: what cannot be read, since the device is gone, is empty or zero.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

struct SystemFolders;

class BlockDevice {
public:
    // folder: of the device, "/sys/class/block/sdb". Its last part is the kernel's name.
    explicit BlockDevice(std::string folder);

    const std::string &Name() const { return _name; }
    // "8:17", the name of a device in udev's database and in the list of mounts.
    std::string Number() const;
    // "/dev/sdb1"
    std::string Path(const SystemFolders &folders) const;
    uint64_t Bytes() const;

    bool IsPartition() const;
    // In the order of their names, of which "sdb10" comes after "sdb9".
    std::vector<BlockDevice> Partitions() const;
    // The kernel's names of the devices that it is made of: those of a mapped or RAID device.
    std::vector<std::string> Parts() const;

    // Can be taken out or unplugged: a stick, a card, a disk in a USB case.
    bool IsRemovable() const;
    // Memory, a drive for discs, one of several ways to a disk, or a device without a medium.
    bool IsNoDisk() const;
    // Vendor and model of a disk; of a loop device its file, of a mapped one its name.
    std::string Title() const;

private:
    std::string Attribute(const std::string &name) const;
    std::string VendorAndModel() const;

    std::string _folder;
    std::string _name;
};

// The disks in a folder such as /sys/class/block, without their partitions, in the order of their
// names.
std::vector<BlockDevice> DisksIn(const std::string &folder);

}  // namespace vx
