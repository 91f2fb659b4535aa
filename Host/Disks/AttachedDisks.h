// The disks and partitions that are attached, for a user who chooses one. Nothing of it needs root:
// the system's own database says what is on a disk that this user may not read.
//
// Threads: any. Listing may read a sector of a disk and so take as long as a slow disk takes; a
// program with a window does it on a worker. Units: bytes. Texts: UTF-8, one line; empty if
// unknown.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vx {

struct AttachedVolume {
    std::string path;  // "/dev/sdb1"
    std::string disk;  // of which it is a part: "/dev/sdb"; empty for a whole disk
    // Of the disk, "Generic flash disk": vendor and model; of a loop device its file, of a
    // mapped device its name.
    std::string diskName;
    std::string label;       // of the file system, or of the partition
    std::string fileSystem;  // for programs: "bitlocker", "ntfs", "vfat"; empty if unknown
    uint64_t bytes = 0;
    bool isEncrypted = false;  // with BitLocker
    bool isRemovable = false;
    bool isReadable = false;  // by this user
    bool isSystem = false;    // mounted as the running system's own
};

// In the order of the disks; a disk is followed by its partitions. Left out are disks without a
// medium or a device file, drives for discs, zram, loop devices without a file or with a package of
// the system, and extended partitions, which only hold others.
std::vector<AttachedVolume> ListAttachedVolumes();

// Lets lists and watches that are made afterwards see the disks of a stand-in: below path lie
// sys/class/block, run/udev/data, dev (a file for each device) and proc/self/mountinfo, as on
// Linux. Empty: the system's own. Does nothing on macOS.
void SetSystemFolder(const std::string &path);

// Calls changed on a thread of its own, soon after a disk or partition came, went or changed; not
// for a right to read that came or went. Several changes at once are one call. Destroying it ends
// the thread; not from within changed.
class AttachedDisksWatch {
public:
    explicit AttachedDisksWatch(std::function<void()> changed);
    ~AttachedDisksWatch();
    AttachedDisksWatch(const AttachedDisksWatch &) = delete;
    AttachedDisksWatch &operator=(const AttachedDisksWatch &) = delete;

private:
    class Thread;
    std::unique_ptr<Thread> _thread;
};

}  // namespace vx
