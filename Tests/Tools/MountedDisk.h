// A disk, most with a file system of Windows, made in a file and mounted through /dev/fuse by a
// driver of others. Unmounted when it goes.
#pragma once

#include "TemporaryFolder.h"

#include <string>

namespace vx {

enum class DiskKind {
    kNtfs,      // with the rules of Windows: no case, its refused names
    kFat,       // without names beyond ASCII
    kExfat,     // needs a loop device
    kFewFiles,  // of this system, with room for 4 files and folders
};

class MountedDisk {
public:
    explicit MountedDisk(DiskKind kind, int mebibytes = 64);
    ~MountedDisk();
    MountedDisk(const MountedDisk &) = delete;
    MountedDisk &operator=(const MountedDisk &) = delete;

    // False: the machine lacks the driver, or may not mount.
    explicit operator bool() const { return _isMounted; }
    const std::string &Path() const { return _mount; }

private:
    bool Make(DiskKind kind, const std::string &image);

    TemporaryFolder _folder;
    const std::string _mount = _folder.MakeFolder("mount");
    std::string _device;
    bool _isMounted = false;
};

}  // namespace vx

// Skips the test if the disk is not mounted.
#define VX_NEEDS_DISK(disk)                                                                        \
    if (!(disk))                                                                                   \
    GTEST_SKIP() << "the driver of the file system is missing, or /dev/fuse is"
