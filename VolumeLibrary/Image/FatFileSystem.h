// FAT12, FAT16, FAT32 and exFAT, for reading.
//
// FatGeometry tells which of them a volume is; folders and files are read by FatFolder,
// ExfatFolder and FatChain.
// Threads: any number at a time; unchanging but for what CachedSource and FatFolderOwners keep.
#pragma once

#include "FatChain.h"
#include "FatFolder.h"
#include "FatFolderOwners.h"
#include "FileSystem.h"
#include "OpenError.h"

namespace vx {

class FatFileSystem final : public FileSystem {
public:
    // Errors: kFileSystemDamaged.
    static OpenError Open(const std::shared_ptr<const bitlocker::ByteSource> &volume,
                          std::unique_ptr<FileSystem> *fileSystem);

    Node Root() const override;
    std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const override;
    std::unique_ptr<VolumeFile> OpenFile(const Node &file) const override;

private:
    FatFileSystem(std::shared_ptr<const bitlocker::ByteSource> volume, const FatGeometry &geometry);
    bool IsRoot(const Node &folder) const;
    std::optional<std::vector<Extent>> RunsOfFolder(const Node &folder) const;
    bool Claim(const Way &way, const std::vector<Extent> &runs) const;

    const std::shared_ptr<const bitlocker::ByteSource> _volume;
    const FatGeometry _geometry;
    const CachedSource _tables;  // the table and the folders
    const FatChain _chain;
    mutable FatFolderOwners _owners;
};

}  // namespace vx
