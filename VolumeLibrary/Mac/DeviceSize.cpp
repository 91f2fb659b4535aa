#include "DeviceSize.h"

#include <cerrno>
#include <sys/disk.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

namespace vx {

bool IsDiskDevice(mode_t mode)
{
    return S_ISBLK(mode) || S_ISCHR(mode);
}

Result<uint64_t> DeviceSize(int descriptor)
{
    struct stat status;
    if (::fstat(descriptor, &status) != 0)
        return SystemError(errno, "stat");
    if (S_ISREG(status.st_mode))
        return static_cast<uint64_t>(status.st_size);
    if (!IsDiskDevice(status.st_mode))
        return SystemError(S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP, "size of the device");
    uint32_t blockSize = 0;
    uint64_t blockCount = 0;
    if (::ioctl(descriptor, DKIOCGETBLOCKSIZE, &blockSize) != 0 ||
        ::ioctl(descriptor, DKIOCGETBLOCKCOUNT, &blockCount) != 0)
        return SystemError(errno, "size of the device");
    return uint64_t{blockSize} * blockCount;
}

}  // namespace vx
