// Reads a folder of an NTFS volume: its index from the first name to the last. If the index is
// damaged, the other names follow, as the files' own records have them.
// Left out are short names, the file system's own files, names that no path could hold and names
// of another folder: blocks that several folders share are listed once.
// The fields of an entry come from the file's own record, or from the index if that is damaged.
#pragma once

#include "FileSystem.h"
#include "NtfsIndex.h"
#include "NtfsLostNames.h"

namespace vx {

class NtfsFolder final : public FolderReader {
public:
    // The size in the node of what the index calls a folder; 0 in other nodes.
    static constexpr uint64_t kIsFolder = 1;

    // All that is borrowed must outlive the reader. folder: its sequence is 0 if it is not known.
    NtfsFolder(const NtfsMft &mft, const ByteSource &volume, const NtfsParents &parents,
               NtfsReference folder);
    // record: that of the folder; null if it is lost, and with it the index, for the reason.
    void Begin(const NtfsRecord *record, VolumeObstacle reason);

    // kError if the folder is damaged and nothing of it is left.
    VolumeListing::Step Next(FolderEntry *entry) override;
    void Describe(VolumeFindData *record) const override;
    VolumeListingReport Report() const override;

private:
    bool NextOfIndex();
    bool NextLost();
    bool IsShown() const;

    const NtfsMft &_mft;
    const ByteSource &_volume;
    const NtfsParents &_parents;
    const NtfsReference _folder;
    NtfsIndex _index;
    std::vector<uint64_t> _listed;  // NtfsLostNames::HashOf of each name of the index
    std::optional<NtfsLostNames> _lost;
    uint64_t _recovered = 0;
    NtfsReference _file = 0;
    NtfsIndexName _name;
};

}  // namespace vx
