#include "SystemDevices.h"

#include "BlockDevice.h"
#include "SmallFiles.h"
#include "SystemFolders.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <vector>

namespace vx {
namespace {

using Names = std::set<std::string>;

bool IsSystemFolder(const std::string &folder)
{
    static constexpr const char *kFolders[] = {"/",     "/usr",      "/var", "/home",
                                               "/boot", "/boot/efi", "/efi"};
    return std::find(std::begin(kFolders), std::end(kFolders), folder) != std::end(kFolders);
}

struct Mount {
    std::string number;  // "8:2"; of a Btrfs one that no device has
    std::string folder;
    std::string source;  // "/dev/sda2"
};

Mount ReadMount(const std::string &line)
{
    Mount mount;
    std::string word;
    std::istringstream words(line);
    words >> word >> word >> mount.number >> word >> mount.folder;
    while (words >> word && word != "-") {
    }
    words >> word >> mount.source;
    return mount;
}

// "/dev/mapper/root" -> "dm-0"
std::string KernelName(const std::string &source)
{
    char path[PATH_MAX];
    const std::string real = realpath(source.c_str(), path) == nullptr ? source : path;
    return real.substr(real.rfind('/') + 1);
}

Names MountedDevices(const SystemFolders &folders)
{
    Names numbers;
    Names names;
    std::istringstream lines(ReadSmallFile(folders.mounts));
    for (std::string line; std::getline(lines, line);) {
        const Mount mount = ReadMount(line);
        if (!IsSystemFolder(mount.folder))
            continue;
        numbers.insert(mount.number);
        if (mount.source.rfind("/dev/", 0) == 0)
            names.insert(KernelName(mount.source));
    }
    for (const std::string &name : NamesIn(folders.blocks)) {
        if (numbers.count(BlockDevice(folders.blocks + "/" + name).Number()) > 0)
            names.insert(name);
    }
    return names;
}

}  // namespace

Names SystemDevices(const SystemFolders &folders)
{
    Names names = MountedDevices(folders);
    std::vector<std::string> unfollowed(names.begin(), names.end());
    while (!unfollowed.empty()) {
        const BlockDevice device(folders.blocks + "/" + unfollowed.back());
        unfollowed.pop_back();
        for (const std::string &part : device.Parts()) {
            if (names.insert(part).second)
                unfollowed.push_back(part);
        }
    }
    return names;
}

}  // namespace vx
