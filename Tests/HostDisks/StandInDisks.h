// A system with disks that a test makes up: a tree of sysfs, udev's database, device files and
// mounts in a temporary folder. While it lives, it is what AttachedDisks.h sees.
#pragma once

#include "AttachedDisks.h"
#include "TemporaryFolder.h"

#include <map>
#include <string>

namespace vx {

class StandInDisks {
public:
    using Attributes = std::map<std::string, std::string>;

    StandInDisks();
    ~StandInDisks();

    // bus: where the device hangs, "pci0000:00/usb2". The device gets an empty file in dev.
    void AddDisk(const std::string &name, const std::string &number, const std::string &units,
                 const Attributes &attributes = {}, const std::string &bus = "virtual");
    void AddPartition(const std::string &disk, const std::string &name, const std::string &number,
                      const std::string &units);
    void SetUdev(const std::string &number, const std::string &lines);
    void SetDevice(const std::string &name, const std::string &contents);
    void SetMounts(const std::string &lines);
    // Together with its partitions, as if it were unplugged.
    void Unplug(const std::string &disk);

    std::string Device(const std::string &name) const { return _folder.At("dev/" + name); }
    const TemporaryFolder &Folder() const { return _folder; }
    // The volume with this kernel's name; one without a path if it is not listed.
    AttachedVolume Find(const std::string &name) const;
    // The kernel's names of all that are listed.
    std::vector<std::string> Names() const;

private:
    void AddDevice(const std::string &place, const std::string &name, const std::string &number,
                   const std::string &units);

    TemporaryFolder _folder;
    std::map<std::string, std::string> _places;              // of each disk, below the folder
    std::map<std::string, std::vector<std::string>> _names;  // of each disk and its partitions
};

}  // namespace vx
