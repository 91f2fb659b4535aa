#include "DeviceSize.h"

#include "RetryInterrupted.h"
#include "UniqueFd.h"

#include <cerrno>
#include <fcntl.h>
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

uint32_t DeviceSectorBytes(const std::string &path)
{
    const UniqueFd device(
        RetryInterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    uint32_t bytes = 0;
    return device && ::ioctl(device.Get(), DKIOCGETBLOCKSIZE, &bytes) == 0 ? bytes : 0;
}

std::string AdviceForReadingDevice()
{
    return "run the program as administrator (sudo)";
}

}  // namespace vx
