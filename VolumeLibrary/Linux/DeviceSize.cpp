#include "DeviceSize.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {

bool IsDiskDevice(mode_t mode)
{
    return S_ISBLK(mode);
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
    const off_t end = ::lseek(descriptor, 0, SEEK_END);
    if (end < 0)
        return SystemError(errno, "size of the device");
    return static_cast<uint64_t>(end);
}

}  // namespace vx
