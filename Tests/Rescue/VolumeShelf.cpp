#include "VolumeShelf.h"

#include "ContainerMap.h"

#include <algorithm>
#include <stdexcept>

namespace vx {
namespace {

using Kind = FileSystemImage::Kind;

void Require(bool done, const std::string &what)
{
    if (!done)
        throw std::runtime_error("cannot make " + what);
}

bool CanMake(const VolumeForm &form)
{
    if (form.isFolder)
        return true;
    if (!FileSystemImage::CanMake(form.fileSystem))
        return false;
    switch (form.container) {
    case ContainerForm::kE01:
        return HasProgram("ewfacquirestream");
    case ContainerForm::kVhd:
    case ContainerForm::kVhdFixed:
    case ContainerForm::kVmdk:
        return HasProgram("qemu-img");
    default:
        return true;
    }
}

// The commands that make each container of the image "disk" in the current folder.
const char *CommandOf(ContainerForm form)
{
    switch (form) {
    case ContainerForm::kSplit:
        return "split -b 7M -d -a 3 --numeric-suffixes=1 disk part. && rm disk";
    case ContainerForm::kE01:
        return "ewfacquirestream -q -c none -t evidence < disk && rm disk";
    case ContainerForm::kVhd:
        return "qemu-img convert -f raw -O vpc -o subformat=dynamic,force_size=on disk disk.vhd && "
               "rm disk";
    case ContainerForm::kVhdFixed:
        return "qemu-img convert -f raw -O vpc -o subformat=fixed,force_size=on disk disk.vhd && "
               "rm disk";
    case ContainerForm::kVmdk:
        return "qemu-img convert -f raw -O vmdk -o subformat=monolithicSparse disk disk.vmdk && "
               "rm disk";
    default:
        return ":";
    }
}

uint64_t GroupBytesOf(const VolumeForm &form)
{
    constexpr uint64_t kE01ChunkBytes = 32768;
    return form.container == ContainerForm::kE01 ? kE01ChunkBytes : kSectorBytes;
}

std::string FirstOf(const std::vector<std::string> &parts)
{
    return *std::min_element(parts.begin(), parts.end());
}

}  // namespace

VolumeShelf &VolumeShelf::Get()
{
    static VolumeShelf shelf;
    return shelf;
}

const std::vector<VolumeForm> &VolumeShelf::Forms()
{
    static const std::vector<VolumeForm> forms = {
        {"NtfsRaw", Kind::kNtfs, "", ContainerForm::kRaw},
        {"NtfsXts128", Kind::kNtfs, "xts128", ContainerForm::kRaw},
        {"NtfsDiffuser", Kind::kNtfs, "elephant128", ContainerForm::kRaw},
        {"NtfsSplit", Kind::kNtfs, "", ContainerForm::kSplit},
        {"NtfsE01", Kind::kNtfs, "", ContainerForm::kE01},
        {"NtfsXts256Vhd", Kind::kNtfs, "xts256", ContainerForm::kVhd},
        {"NtfsCbc256Vmdk", Kind::kNtfs, "cbc256", ContainerForm::kVmdk},
        {"Fat16Raw", Kind::kFat16, "", ContainerForm::kRaw},
        {"Fat16Xts128E01", Kind::kFat16, "xts128", ContainerForm::kE01},
        {"Fat32Xts256", Kind::kFat32, "xts256", ContainerForm::kRaw},
        {"Fat32Vhd", Kind::kFat32, "", ContainerForm::kVhd},
        {"ExfatRaw", Kind::kExfat, "", ContainerForm::kRaw},
        {"ExfatCbc128", Kind::kExfat, "cbc128", ContainerForm::kRaw},
        {"ExfatXts128Split", Kind::kExfat, "xts128", ContainerForm::kSplit},
        {"ExfatVmdk", Kind::kExfat, "", ContainerForm::kVmdk},
        {"ExfatXts128VhdFixed", Kind::kExfat, "xts128", ContainerForm::kVhdFixed},
        {"Folder", Kind::kNtfs, "", ContainerForm::kRaw, true},
        {"NtfsNames", Kind::kNtfs, "", ContainerForm::kRaw, false, true},
        {"ExfatNamesXts128", Kind::kExfat, "xts128", ContainerForm::kRaw, false, true},
    };
    return forms;
}

const RescueVolume *VolumeShelf::VolumeOf(const std::string &name)
{
    const auto known = _volumes.find(name);
    if (known != _volumes.end())
        return known->second.get();
    const auto form = std::find_if(Forms().begin(), Forms().end(),
                                   [&](const VolumeForm &one) { return one.name == name; });
    Require(form != Forms().end(), name);
    return (_volumes[name] = CanMake(*form) ? Make(*form) : nullptr).get();
}

std::unique_ptr<RescueVolume> VolumeShelf::Make(const VolumeForm &form)
{
    auto volume = std::make_unique<RescueVolume>();
    volume->name = form.name;
    volume->isFolder = form.isFolder;
    if (form.isFolder)
        MakeFolder(form, volume.get());
    else
        MakeDisk(form, volume.get());
    for (const RescueFile &file : volume->tree)
        volume->contents.push_back(file.Contents());
    return volume;
}

const FileSystemImage &VolumeShelf::FileSystemOf(const VolumeForm &form)
{
    const std::string key =
        std::to_string(static_cast<int>(form.fileSystem)) + (form.withNames ? "names" : "");
    std::unique_ptr<FileSystemImage> &made = _fileSystems[key];
    if (made == nullptr)
        made = std::make_unique<FileSystemImage>(form.fileSystem, form.withNames);
    return *made;
}

// The files of the host are the disk.
void VolumeShelf::MakeFolder(const VolumeForm &form, RescueVolume *volume) const
{
    volume->tree = MakeRescueTree(false);
    volume->path = _folder.MakeFolder(form.name);
    for (const RescueFile &file : volume->tree) {
        const size_t part = volume->parts.size();
        volume->parts.push_back(_folder.WriteFile(form.name + file.path, file.Contents()));
        for (uint64_t at = 0; at < file.size; at += kSectorBytes) {
            const uint64_t end = std::min(at + kSectorBytes, file.size);
            volume->pieces.push_back(
                {file.number, at, end, part, at, kSectorBytes, volume->pieces.size()});
        }
    }
}

void VolumeShelf::MakeDisk(const VolumeForm &form, RescueVolume *volume)
{
    const FileSystemImage &plain = FileSystemOf(form);
    const std::string folder = _folder.MakeFolder(form.name);
    volume->tree = plain.Tree();
    Encrypt(form, plain.Image().Path(), volume);
    const std::string raw = _folder.ReadFile(form.name + "/disk");
    Require(RunShell("cd " + Quoted(folder) + " && " + CommandOf(form.container)), form.name);
    const ContainerMap map(folder, raw, form.container == ContainerForm::kE01);
    volume->parts = map.Parts();
    volume->path = FirstOf(volume->parts);
    volume->groupPieces = GroupBytesOf(form) / kSectorBytes;
    for (const OwnedSector &sector : plain.Sectors()) {
        const auto spot = map.SpotOf(sector.place);
        if (spot)
            volume->pieces.push_back({sector.file, sector.from, sector.to, spot->part, spot->from,
                                      kSectorBytes, sector.place / GroupBytesOf(form)});
    }
    for (const auto &[name, place] : plain.Landmarks()) {
        const auto spot = map.SpotOf(place);
        if (spot)
            volume->landmarks[name] = *spot;
    }
}

// A clear key, so that no key is stretched in every run.
void VolumeShelf::Encrypt(const VolumeForm &form, const std::string &plain,
                          RescueVolume *volume) const
{
    const std::string disk = _folder.At(form.name + "/disk");
    const std::string to = Quoted(plain) + " " + Quoted(disk);
    if (form.method.empty()) {
        Require(RunShell("cp --sparse=always " + to), form.name);
        return;
    }
    std::string protector = " --clear-key";
    if (form.method == "xts256") {
        volume->unlockKind = "startup-key";
        volume->secret = _folder.At(form.name + ".bek");
        protector = " --startup-key " + Quoted(volume->secret);
    }
    Require(RunShell(VX_MAKE_VOLUME " " + to + " --method " + form.method + protector), form.name);
}

}  // namespace vx
