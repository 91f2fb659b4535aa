// From Disk Arbitration, for each medium that the I/O Registry has. macOS does not recognise
// encrypted volumes: the first sector of what the user may read says it.
#include "AttachedDisks.h"
#include "DeviceContents.h"
#include "DeviceNameOrder.h"
#include "DiskDescription.h"
#include "LineText.h"
#include "ReadingRight.h"

#include <IOKit/IOBSD.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/storage/IOMedia.h>

#include <algorithm>
#include <map>

namespace vx {
namespace {

// The owner of an object of the I/O Registry.
class IoOwner {
public:
    explicit IoOwner(io_object_t object) : _object(object) {}
    ~IoOwner()
    {
        if (_object != IO_OBJECT_NULL)
            IOObjectRelease(_object);
    }
    IoOwner(const IoOwner &) = delete;
    IoOwner &operator=(const IoOwner &) = delete;

    io_object_t Get() const { return _object; }

private:
    io_object_t _object;
};

// "disk2s1" -> "disk2"
std::string DiskOf(const std::string &name)
{
    const size_t slice = name.find('s', 4);
    return name.substr(0, slice);
}

bool IsSystemFolder(const std::string &folder)
{
    return folder == "/" || folder.rfind("/System/Volumes/", 0) == 0;
}

std::string TitleOf(const DiskDescription &description)
{
    return LineText(LineText(description.Text(kDADiskDescriptionDeviceVendorKey)) + " " +
                    LineText(description.Text(kDADiskDescriptionDeviceModelKey)));
}

std::string LabelOf(const DiskDescription &description)
{
    const std::string label = LineText(description.Text(kDADiskDescriptionVolumeNameKey));
    const bool isWhole = description.Truth(kDADiskDescriptionMediaWholeKey);
    return label.empty() && !isWhole ? LineText(description.Text(kDADiskDescriptionMediaNameKey))
                                     : label;
}

AttachedVolume VolumeOf(const DiskDescription &description, const std::string &name)
{
    AttachedVolume volume;
    volume.path = "/dev/" + name;
    if (!description.Truth(kDADiskDescriptionMediaWholeKey))
        volume.disk = "/dev/" + DiskOf(name);
    volume.diskName = TitleOf(description);
    volume.label = LabelOf(description);
    volume.bytes = description.Number(kDADiskDescriptionMediaSizeKey);
    volume.isRemovable = description.Truth(kDADiskDescriptionMediaRemovableKey) ||
                         !description.Truth(kDADiskDescriptionDeviceInternalKey);
    volume.isReadable = MayRead(volume.path);
    volume.isSystem = IsSystemFolder(description.Path(kDADiskDescriptionVolumePathKey));
    volume.fileSystem = FileSystemOnDevice(volume.path);
    if (volume.fileSystem.empty())
        volume.fileSystem = LineText(description.Text(kDADiskDescriptionVolumeKindKey));
    volume.isEncrypted = volume.fileSystem == "bitlocker";
    return volume;
}

using Volumes = std::map<std::string, AttachedVolume, DeviceNameOrder>;

void AddMedium(DASessionRef session, io_object_t medium, Volumes *volumes)
{
    const CfOwner<DADiskRef> disk(DADiskCreateFromIOMedia(kCFAllocatorDefault, session, medium));
    if (!disk)
        return;
    const DiskDescription description(disk.Get());
    const std::string name = description.Text(kDADiskDescriptionMediaBSDNameKey);
    const AttachedVolume volume = VolumeOf(description, name);
    if (!name.empty() && volume.bytes > 0)
        (*volumes)[name] = volume;
}

void MarkSystemDisks(std::vector<AttachedVolume> *volumes)
{
    for (AttachedVolume &disk : *volumes) {
        disk.isSystem =
            disk.isSystem ||
            std::any_of(volumes->begin(), volumes->end(), [&](const AttachedVolume &part) {
                return part.disk == disk.path && part.isSystem;
            });
    }
}

}  // namespace

std::vector<AttachedVolume> ListAttachedVolumes()
{
    const CfOwner<DASessionRef> session(DASessionCreate(kCFAllocatorDefault));
    io_iterator_t found = IO_OBJECT_NULL;
    std::vector<AttachedVolume> list;
    // The call releases the dictionary.
    if (!session ||
        IOServiceGetMatchingServices(kIOMasterPortDefault, IOServiceMatching(kIOMediaClass),
                                     &found) != KERN_SUCCESS)
        return list;
    const IoOwner media(found);
    Volumes volumes;
    for (io_object_t next; (next = IOIteratorNext(media.Get())) != IO_OBJECT_NULL;) {
        const IoOwner medium(next);
        AddMedium(session.Get(), medium.Get(), &volumes);
    }
    for (auto &named : volumes)
        list.push_back(std::move(named.second));
    MarkSystemDisks(&list);
    return list;
}

void SetSystemFolder(const std::string &) {}

}  // namespace vx
