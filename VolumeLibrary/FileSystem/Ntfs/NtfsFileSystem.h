// NTFS, for reading.
//
// Shown: every name of a file but the short ones, even if it has several. Not shown: the file
// system's own files, deleted files. Streams with names are visited on their own. What leads
// elsewhere, and files whose data is elsewhere or in a form that cannot be read, are shown but do
// not open, and Describe says why. What a volume keeps twice is read from the copy if the first one
// is damaged.
#pragma once

#include "CachedSource.h"
#include "FileSystem.h"
#include "NtfsFolderClaims.h"
#include "NtfsParents.h"
#include "NtfsStream.h"

namespace vx {

class NtfsFileSystem final : public FileSystem {
public:
    // notes receives a line for each copy that had to be used (NtfsMft.h). Errors:
    // kDamagedFileSystem.
    static Result<std::unique_ptr<FileSystem>> Open(std::shared_ptr<const ByteSource> volume,
                                                    std::vector<std::string> *notes);

    Node Root() const override;
    std::unique_ptr<FolderReader> OpenFolder(const Node &folder, const Way &way) const override;
    std::unique_ptr<VolumeFile> OpenFile(const Node &file) const override;
    void Describe(const Node &entry, VolumeEntryReport *report) const override;
    void DescribeWhole(VolumeFileSystemReport *report) const override;
    bool VisitStreams(const Node &entry, const StreamVisitor &visit) const override;
    std::unique_ptr<VolumeFile> OpenStream(const Node &entry,
                                           const std::string &name) const override;

private:
    NtfsFileSystem(std::shared_ptr<const ByteSource> volume, std::unique_ptr<NtfsMft> mft);
    bool IsWayTo(const Node &folder, const NtfsRecord &record, const Way &way) const;
    bool IsLostFolder(const Node &folder, const Way &way) const;
    bool IsListed(const Node &folder, const NtfsRecord &record, const Way &way) const;
    VolumeObstacle IndexTrouble(const NtfsRecord &folder, uint64_t number) const;
    std::unique_ptr<VolumeFile> OpenData(NtfsStream stream) const;

    const std::shared_ptr<const ByteSource> _volume;
    const CachedSource _tables;  // indexes and lists of attributes
    const std::unique_ptr<NtfsMft> _mft;
    const NtfsParents _parents;
    const NtfsFolderClaims _claims;
};

}  // namespace vx
