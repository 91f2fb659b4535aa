// A file system as a volume, for reading only.
//
// A path is followed name by name through the folders' indexes (FolderIndex); a folder that has no
// index, or no longer has one, is read once. Names are matched exactly as they are listed. A folder
// opens by one path only (FileSystem.h), so that a damaged tree contains no cycle.
// Ownership: owns the file system, shares the disk. Threads: any number at a time, each with
// handles of its own.
#pragma once

#include "CarefulSource.h"
#include "FolderIndex.h"
#include "HandleVolume.h"
#include "ReadAheadFile.h"
#include "ReadRecord.h"

namespace vx {

class FileSystemVolume final : public HandleVolume {
public:
    explicit FileSystemVolume(std::unique_ptr<FileSystem> fileSystem);

    // The disk that the volume lies on, which says whether it is still there.
    void SetDisk(std::shared_ptr<const CarefulSource> disk) { _disk = std::move(disk); }
    // What was read of it as tables; null if that is not recorded.
    void SetRecord(std::shared_ptr<const ReadRecord> record) { _record = std::move(record); }
    bool VisitTablesRead(VolumeRangeFunction range, void *context) override;
    bool IsGone() override { return _disk != nullptr && _disk->IsGone(); }

protected:
    std::unique_ptr<VolumeListing> OpenListing(const VolumePath &folder) override;
    std::unique_ptr<VolumeFile> OpenVolumeFile(const VolumePath &file) override;
    VolumeEntryReport Describe(const VolumePath &entry) override;
    bool DescribeWhole(VolumeFileSystemReport *report) override
    {
        _fileSystem->DescribeWhole(report);
        return true;
    }
    bool VisitEntryStreams(const VolumePath &entry, const StreamVisitor &visit) override;
    std::unique_ptr<VolumeFile> OpenEntryStream(const VolumePath &entry,
                                                const std::string &name) override;

private:
    // A large file on a disk without known faults is read ahead; others are returned as they are,
    // null too.
    std::unique_ptr<VolumeFile> WithReadAhead(std::unique_ptr<VolumeFile> file);

    struct Found {
        Node node;
        Way way;
    };

    std::optional<Found> Resolve(std::string_view relative);
    std::optional<Node> Find(const Found &folder, std::string_view name);

    const std::unique_ptr<FileSystem> _fileSystem;
    std::shared_ptr<const CarefulSource> _disk;
    std::shared_ptr<const ReadRecord> _record;
    FolderIndex _index;
    ReadAheadRoom _room;
};

}  // namespace vx
