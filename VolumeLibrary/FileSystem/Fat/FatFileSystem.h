// FAT12, FAT16, FAT32 and exFAT, for reading.
//
// FatBoot and FatGeometry find out which of them a volume is; folders and files are read by
// FatFolder, ExfatFolder and FatChain. What lies on a broken chain of clusters opens and lists up
// to the break; the rest of a file lies in no run and cannot be read. A FAT root that seems empty
// while clusters are in use has lost its entries. Threads: any number at a time; nothing changes
// but what CachedSource and FatFolderOwners keep, and what is known about the root.
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
    // notes: receives a line for each damage that could be worked around. Errors:
    // kDamagedFileSystem.
    static Result<std::unique_ptr<FileSystem>> Open(const std::shared_ptr<const ByteSource> &volume,
                                                    std::vector<std::string> *notes);

    Node Root() const override;
    std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const override;
    std::unique_ptr<VolumeFile> OpenFile(const Node &file) const override;
    void Describe(const Node &node, VolumeEntryReport *report) const override;
    void DescribeWhole(VolumeFileSystemReport *report) const override;

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
