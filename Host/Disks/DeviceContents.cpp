#include "DeviceContents.h"

#include "BitlockerMark.h"
#include "FirstSector.h"
#include "UniqueFd.h"

#include <array>
#include <cerrno>
#include <fcntl.h>

namespace vx {
namespace {

constexpr char kEncryptedName[] = "-FVE-FS-";

using Sector = std::array<uint8_t, kFirstSectorBytes>;

bool ReadFirstSector(const std::string &path, Sector *sector)
{
    const UniqueFd device(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!device)
        return false;
    ssize_t count;
    do {
        count = pread(device.Get(), sector->data(), sector->size(), 0);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sector->size());
}

}  // namespace

std::string FileSystemOnDevice(const std::string &path)
{
    Sector sector;
    if (!ReadFirstSector(path, &sector))
        return "";
    if (HasName(sector, kEncryptedName) || HasBitlockerToGoMark(sector))
        return "bitlocker";
    if (HasName(sector, kNtfsName))
        return "ntfs";
    if (HasName(sector, kExfatName))
        return "exfat";
    return LooksLikeFat(sector) ? "vfat" : "";
}

}  // namespace vx
