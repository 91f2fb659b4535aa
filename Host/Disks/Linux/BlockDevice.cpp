#include "BlockDevice.h"

#include "DeviceNameOrder.h"
#include "SmallFiles.h"
#include "SystemFolders.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <sys/stat.h>

namespace vx {
namespace {

bool Exists(const std::string &path)
{
    struct stat found;
    return stat(path.c_str(), &found) == 0;
}

bool BeginsWith(const std::string &text, const char *beginning)
{
    return text.rfind(beginning, 0) == 0;
}

std::string FileIn(std::string folder, const std::string &name)
{
    return folder.append("/").append(name);
}

std::vector<BlockDevice> Sorted(const std::string &folder, bool partitions)
{
    std::vector<std::string> names = NamesIn(folder);
    std::sort(names.begin(), names.end(), DeviceNameOrder());
    std::vector<BlockDevice> devices;
    for (const std::string &name : names) {
        BlockDevice device(FileIn(folder, name));
        if (device.IsPartition() == partitions)
            devices.push_back(std::move(device));
    }
    return devices;
}

// Where sysfs has the device: ".../pci0000:00/0000:00:14.0/usb2/2-1/.../block/sdb".
std::string RealFolder(const std::string &folder)
{
    char path[PATH_MAX];
    return realpath(folder.c_str(), path) == nullptr ? "" : path;
}

}  // namespace

BlockDevice::BlockDevice(std::string folder)
    : _folder(std::move(folder)), _name(_folder.substr(_folder.rfind('/') + 1))
{
}

std::string BlockDevice::Attribute(const std::string &name) const
{
    return ReadLineOf(FileIn(_folder, name));
}

std::string BlockDevice::Number() const
{
    return Attribute("dev");
}

std::string BlockDevice::Path(const SystemFolders &folders) const
{
    // A name with a slash, "cciss/c0d0", has an exclamation mark in sysfs.
    std::string name = _name;
    std::replace(name.begin(), name.end(), '!', '/');
    return folders.devices + "/" + name;
}

uint64_t BlockDevice::Bytes() const
{
    constexpr uint64_t kUnit = 512;  // whatever the device's sectors are
    const std::string size = Attribute("size");
    uint64_t units = 0;
    std::from_chars(size.data(), size.data() + size.size(), units);
    return units > UINT64_MAX / kUnit ? 0 : units * kUnit;
}

bool BlockDevice::IsPartition() const
{
    return Exists(_folder + "/partition");
}

std::vector<BlockDevice> BlockDevice::Partitions() const
{
    return Sorted(_folder, true);
}

std::vector<std::string> BlockDevice::Parts() const
{
    return NamesIn(_folder + "/slaves");
}

bool BlockDevice::IsRemovable() const
{
    return Attribute("removable") == "1" || Attribute("device/type") == "SD" ||
           RealFolder(_folder).find("/usb") != std::string::npos;
}

bool BlockDevice::IsNoDisk() const
{
    const bool isMemory = BeginsWith(_name, "zram") || BeginsWith(_name, "ram");
    // An empty drive for discs claims to have 1 GiB, and no disc is encrypted.
    const bool isDiscDrive = BeginsWith(_name, "sr");
    const bool isLoop = BeginsWith(_name, "loop");
    return isMemory || isDiscDrive || Bytes() == 0 || Attribute("hidden") == "1" ||
           (isLoop && Attribute("loop/backing_file").empty());
}

std::string BlockDevice::VendorAndModel() const
{
    std::string vendor = Attribute("device/vendor");
    std::string model = Attribute("device/model");
    vendor.erase(vendor.find_last_not_of(' ') + 1);
    // "ATA" is written there for every disk on that bus; a number is none that a person knows.
    if (vendor == "ATA" || BeginsWith(vendor, "0x"))
        return model;
    return vendor + " " + model;
}

std::string BlockDevice::Title() const
{
    for (const char *name : {"loop/backing_file", "dm/name", "device/model", "device/name"}) {
        const std::string title = Attribute(name);
        if (!title.empty())
            return name == std::string("device/model") ? VendorAndModel() : title;
    }
    return "";
}

std::vector<BlockDevice> DisksIn(const std::string &folder)
{
    return Sorted(folder, false);
}

}  // namespace vx
