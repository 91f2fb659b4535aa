#include "DeviceSize.h"

#include "ReadingRightCommand.h"
#include "RetryInterrupted.h"
#include "UniqueFd.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
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

uint32_t DeviceSectorBytes(const std::string &path)
{
    const UniqueFd device(
        RetryInterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    int bytes = 0;
    if (!device || ::ioctl(device.Get(), BLKSSZGET, &bytes) != 0 || bytes < 0)
        return 0;
    return static_cast<uint32_t>(bytes);
}

std::string AdviceForReadingDevice()
{
    return "run the program as administrator (sudo), or let your user read the device: " +
           ReadingRightCommand("$USER", "DEVICE");
}

}  // namespace vx
