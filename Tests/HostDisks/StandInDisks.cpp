#include "StandInDisks.h"

#include <ftw.h>
#include <unistd.h>

#include <cstdio>

namespace vx {
namespace {

int RemoveOne(const char *path, const struct stat *, int, struct FTW *)
{
    return remove(path);
}

std::string NameOf(const AttachedVolume &volume)
{
    return volume.path.substr(volume.path.find("/dev/") + 5);
}

}  // namespace

StandInDisks::StandInDisks()
{
    _folder.MakeFolder("sys/class/block");
    _folder.MakeFolder("run/udev/data");
    _folder.MakeFolder("dev");
    SetMounts("");
    SetSystemFolder(_folder.Path());
}

StandInDisks::~StandInDisks()
{
    SetSystemFolder("");
}

void StandInDisks::AddDevice(const std::string &place, const std::string &name,
                             const std::string &number, const std::string &units)
{
    _folder.WriteFile(place + "/dev", number + "\n");
    _folder.WriteFile(place + "/size", units + "\n");
    SetDevice(name, "");
    _folder.MakeLink("sys/class/block/" + name, "../../../" + place);
}

void StandInDisks::AddDisk(const std::string &name, const std::string &number,
                           const std::string &units, const Attributes &attributes,
                           const std::string &bus)
{
    const std::string place = "sys/devices/" + bus + "/block/" + name;
    for (const auto &attribute : attributes)
        _folder.WriteFile(place + "/" + attribute.first, attribute.second + "\n");
    AddDevice(place, name, number, units);
    _places[name] = place;
    _names[name].push_back(name);
}

void StandInDisks::AddPartition(const std::string &disk, const std::string &name,
                                const std::string &number, const std::string &units)
{
    const std::string place = _places.at(disk) + "/" + name;
    _folder.WriteFile(place + "/partition", "1\n");
    AddDevice(place, name, number, units);
    _names[disk].push_back(name);
}

void StandInDisks::SetUdev(const std::string &number, const std::string &lines)
{
    _folder.WriteFile("run/udev/data/b" + number, lines);
}

void StandInDisks::SetDevice(const std::string &name, const std::string &contents)
{
    _folder.WriteFile("dev/" + name, contents);
}

void StandInDisks::SetMounts(const std::string &lines)
{
    _folder.WriteFile("proc/self/mountinfo", lines);
}

void StandInDisks::Unplug(const std::string &disk)
{
    for (const std::string &name : _names[disk])
        unlink(_folder.At("sys/class/block/" + name).c_str());
    nftw(_folder.At(_places.at(disk)).c_str(), RemoveOne, 16, FTW_DEPTH | FTW_PHYS);
    _names.erase(disk);
}

AttachedVolume StandInDisks::Find(const std::string &name) const
{
    for (const AttachedVolume &volume : ListAttachedVolumes()) {
        if (NameOf(volume) == name)
            return volume;
    }
    return {};
}

std::vector<std::string> StandInDisks::Names() const
{
    std::vector<std::string> names;
    for (const AttachedVolume &volume : ListAttachedVolumes())
        names.push_back(NameOf(volume));
    return names;
}

}  // namespace vx
