// From sysfs, and from udev's database where udev runs. Of a device that it does not describe, as
// in a container, the first sector is read if the user may.
#include "AttachedDisks.h"
#include "BlockDevice.h"
#include "DeviceContents.h"
#include "LineText.h"
#include "ReadingRight.h"
#include "SmallFiles.h"
#include "SystemDevices.h"
#include "SystemFolders.h"
#include "UdevRecord.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <unistd.h>

namespace vx {
namespace {

// The kernel shows an extended partition as two sectors; what it holds has entries of its own.
constexpr uint64_t kExtendedPartitionBytes = 1024;

std::string LowerCase(std::string text)
{
    for (char &character : text) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return text;
}

class DiskLister {
public:
    explicit DiskLister(const SystemFolders &folders)
        : _folders(folders), _system(SystemDevices(folders))
    {
    }

    std::vector<AttachedVolume> List()
    {
        for (const BlockDevice &disk : DisksIn(_folders.blocks)) {
            if (!disk.IsNoDisk())
                AddDisk(disk);
        }
        return std::move(_volumes);
    }

private:
    void AddDisk(const BlockDevice &device)
    {
        AttachedVolume disk;
        disk.diskName = LineText(device.Title());
        disk.isRemovable = device.IsRemovable();
        if (!Describe(device, &disk) || IsPackage(device, disk))
            return;
        std::vector<AttachedVolume> partitions;
        for (const BlockDevice &partition : device.Partitions())
            AddPartition(partition, disk, &partitions);
        disk.isSystem = disk.isSystem || std::any_of(partitions.begin(), partitions.end(),
                                                     [](const AttachedVolume &partition) {
                                                         return partition.isSystem;
                                                     });
        _volumes.push_back(std::move(disk));
        std::move(partitions.begin(), partitions.end(), std::back_inserter(_volumes));
    }
    void AddPartition(const BlockDevice &device, const AttachedVolume &disk,
                      std::vector<AttachedVolume> *partitions) const
    {
        AttachedVolume partition;
        partition.disk = disk.path;
        partition.diskName = disk.diskName;
        partition.isRemovable = disk.isRemovable;
        if (Describe(device, &partition) && partition.bytes > kExtendedPartitionBytes)
            partitions->push_back(std::move(partition));
    }
    // False without a device file to open: it is gone, or belongs to another container.
    bool Describe(const BlockDevice &device, AttachedVolume *volume) const
    {
        const UdevRecord record(ReadSmallFile(_folders.udevData + "/b" + device.Number()));
        volume->path = device.Path(_folders);
        volume->bytes = device.Bytes();
        if (access(volume->path.c_str(), F_OK) != 0 || volume->bytes == 0)
            return false;
        volume->isReadable = MayRead(volume->path);
        volume->isSystem = _system.count(device.Name()) > 0;
        volume->label = LabelOf(record);
        volume->fileSystem = LowerCase(LineText(record.Value("ID_FS_TYPE")));
        if (volume->fileSystem.empty() && record.Value("ID_PART_TABLE_TYPE").empty())
            volume->fileSystem = FileSystemOnDevice(volume->path);
        volume->isEncrypted = volume->fileSystem == "bitlocker";
        if (volume->diskName.empty())
            volume->diskName = LineText(record.DecodedValue("ID_MODEL_ENC"));
        return true;
    }
    static std::string LabelOf(const UdevRecord &record)
    {
        for (const char *name : {"ID_FS_LABEL_ENC", "ID_FS_LABEL", "ID_PART_ENTRY_NAME"}) {
            std::string label = LineText(record.DecodedValue(name));
            if (!label.empty())
                return label;
        }
        return "";
    }
    // Some systems have each of their programs on a loop device of its own.
    static bool IsPackage(const BlockDevice &device, const AttachedVolume &disk)
    {
        return device.Name().rfind("loop", 0) == 0 && disk.fileSystem == "squashfs";
    }

    const SystemFolders &_folders;
    const std::set<std::string> _system;
    std::vector<AttachedVolume> _volumes;
};

}  // namespace

std::vector<AttachedVolume> ListAttachedVolumes()
{
    const SystemFolders folders = CurrentSystemFolders();
    return DiskLister(folders).List();
}

}  // namespace vx
