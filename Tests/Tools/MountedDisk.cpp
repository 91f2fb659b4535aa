#include "MountedDisk.h"

#include "ToolRun.h"

#include <unistd.h>

namespace vx {
namespace {

// Whether a shell command ends well; output receives what it prints.
bool Runs(const std::string &line, std::string *output = nullptr)
{
    ToolRun run("/bin/sh", {"-c", "PATH=$PATH:/sbin:/usr/sbin; " + line});
    const bool isGood = run.Wait() == 0;
    if (output != nullptr)
        *output = run.Output().substr(0, run.Output().find('\n'));
    return isGood;
}

}  // namespace

MountedDisk::MountedDisk(DiskKind kind, int mebibytes)
{
    _folder.MakeSparseFile("image", static_cast<long long>(mebibytes) << 20);
    _isMounted = access("/dev/fuse", R_OK | W_OK) == 0 && Make(kind, _folder.At("image"));
}

bool MountedDisk::Make(DiskKind kind, const std::string &image)
{
    switch (kind) {
    case DiskKind::kNtfs:
        return Runs("mkntfs -F -q " + image + " && lowntfs-3g -o windows_names,ignore_case " +
                    image + " " + _mount);
    case DiskKind::kFat:
        return Runs("mkfs.fat " + image + " && fusefat -o rw+ " + image + " " + _mount);
    case DiskKind::kExfat:
        return Runs("mkfs.exfat " + image + " && command -v mount.exfat-fuse") &&
               Runs("losetup -f --show " + image, &_device) &&
               Runs("mount.exfat-fuse " + _device + " " + _mount);
    case DiskKind::kFewFiles:
        return Runs("mount -t tmpfs -o nr_inodes=5,size=1m tmpfs " + _mount);
    }
    return false;
}

MountedDisk::~MountedDisk()
{
    if (_isMounted)
        Runs("fusermount3 -u " + _mount + " || fusermount -u " + _mount + " || umount " + _mount);
    if (!_device.empty())
        Runs("losetup -d " + _device);
}

}  // namespace vx
