// The volumes of the suite, each made when it is first asked for and kept until the end of the
// process: every file system of FileSystemImage, plain and encrypted, in every container.
//
// Threads: one at a time. Errors: what cannot be made throws std::runtime_error.
#pragma once

#include "FileSystemImage.h"
#include "RescueVolume.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vx {

enum class ContainerForm { kRaw, kSplit, kE01, kVhd, kVhdFixed, kVmdk };

struct VolumeForm {
    std::string name;
    FileSystemImage::Kind fileSystem = FileSystemImage::Kind::kNtfs;
    std::string method;  // of the encryption; empty: plain
    ContainerForm container = ContainerForm::kRaw;
    bool isFolder = false;
    bool withNames = false;
};

class VolumeShelf {
public:
    static VolumeShelf &Get();
    static const std::vector<VolumeForm> &Forms();

    // Null if a program is missing that makes it.
    const RescueVolume *VolumeOf(const std::string &name);
    const TemporaryFolder &Folder() const { return _folder; }

private:
    std::unique_ptr<RescueVolume> Make(const VolumeForm &form);
    const FileSystemImage &FileSystemOf(const VolumeForm &form);
    void MakeFolder(const VolumeForm &form, RescueVolume *volume) const;
    void MakeDisk(const VolumeForm &form, RescueVolume *volume);
    // Makes the volume as the disk holds it: as it is, or encrypted.
    void Encrypt(const VolumeForm &form, const std::string &plain, RescueVolume *volume) const;

    const TemporaryFolder _folder;
    std::map<std::string, std::unique_ptr<FileSystemImage>> _fileSystems;
    std::map<std::string, std::unique_ptr<RescueVolume>> _volumes;
};

}  // namespace vx
