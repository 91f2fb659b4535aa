// FAT12, FAT16, FAT32 and exFAT, for reading.
//
// FatBoot and FatGeometry tell which of them a volume is; folders and files are read by FatFolder,
// ExfatFolder and FatChain. What lies on a broken chain of clusters opens and lists as far as the
// chain goes; the rest of a file lies in no run and cannot be read.
// A root of FAT that seems empty while clusters are in use has lost what it held.
// Threads: any number at a time; unchanging but for what CachedSource and FatFolderOwners keep, and
// what is known of the root.
#pragma once

#include "Error.h"
#include "FatChain.h"
#include "FatFolder.h"
#include "FatFolderOwners.h"
#include "FileSystem.h"
#include "Mutex.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

class FatFileSystem final : public FileSystem {
public:
    // notes: receives what is damaged and could be done without. Errors: kFileSystemDamaged.
    static Result<std::unique_ptr<FileSystem>> Open(const std::shared_ptr<const ByteSource> &volume,
                                                    std::vector<std::string> *notes);

    Node Root() const override;
    std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const override;
    std::unique_ptr<VolumeFile> OpenFile(const Node &file) const override;
    void Describe(const Node &node, VolumeEntryReport *report) const override;

private:
    FatFileSystem(std::shared_ptr<const ByteSource> volume, const FatGeometry &geometry);
    bool IsRoot(const Node &folder) const;
    Error CheckTable(std::vector<std::string> *notes) const;
    uint64_t SizeOf(const FatNode &file) const;
    FatRuns RunsOfFile(const FatNode &file) const;
    FatRuns RunsOfFolder(const Node &folder) const;
    VolumeObstacle ObstacleOfRoot(const FatRuns &runs) const;
    bool Claim(const Way &way, const std::vector<FileRun> &runs) const;

    const std::shared_ptr<const ByteSource> _volume;
    const FatGeometry _geometry;
    const CachedSource _tables;  // the table and the folders
    const FatChain _chain;
    mutable FatFolderOwners _owners;
    mutable Mutex _mutex;
    mutable std::optional<VolumeObstacle> _obstacleOfRoot VX_GUARDED_BY(_mutex);
};

}  // namespace vx
