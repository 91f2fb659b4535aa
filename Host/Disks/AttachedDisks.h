// The disks and partitions that are attached, for a user who chooses one. Nothing of it needs root:
// the system's own database says what is on a disk that this user may not read.
//
// Threads: one at a time. Units: bytes. Texts: UTF-8; empty if unknown.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vx {

struct AttachedVolume {
    std::string path;        // "/dev/sdb1"
    std::string disk;        // of which it is a part: "/dev/sdb"; empty for a whole disk
    std::string diskName;    // "Generic flash disk", vendor and model
    std::string label;       // of the file system, or of the partition
    std::string fileSystem;  // for programs: "bitlocker", "ntfs", "vfat"; empty if unknown
    uint64_t bytes = 0;
    bool isEncrypted = false;  // with BitLocker
    bool isRemovable = false;
    bool isReadable = false;  // by this user
    bool isSystem = false;    // mounted as the running system's own
};

// In the order of the disks; a disk is followed by its partitions. Left out are disks without a
// medium, zram, and loop devices without a file.
std::vector<AttachedVolume> ListAttachedVolumes();

// Calls changed on a thread of its own, soon after a disk or partition came, went or changed.
// Several changes at once are one call. Destroying it ends the thread.
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
