// Reads a folder of an NTFS volume: its index from the first name to the last, each block once.
// Left out are short names, the file system's own files, names that no path could hold and names
// of another folder: blocks that several folders have are listed once.
// What is said of an entry comes from the file's own record, or from the index should that be
// damaged.
#pragma once

#include "FileSystem.h"
#include "NtfsIndexBlock.h"
#include "NtfsStream.h"

namespace vx {

class NtfsFolder final : public FolderReader {
public:
    // Null if the folder's index is damaged. mft and volume must outlive the reader.
    static std::unique_ptr<NtfsFolder> Open(const NtfsMft &mft, const bitlocker::ByteSource &volume,
                                            const NtfsRecord &folder, uint64_t number);

    VolumeListing::Step Next(FolderEntry *entry) override;
    void Describe(VolumeFindData *record) const override;

private:
    NtfsFolder(const NtfsMft &mft, const bitlocker::ByteSource &volume, uint64_t number);
    bool Begin(const NtfsRecord &folder);
    bool Descend(uint64_t block);
    bool IsFirstVisit(uint64_t position);
    VolumeListing::Step TakeEntry(FolderEntry *entry, bool *isShown);

    const NtfsMft &_mft;
    const bitlocker::ByteSource &_volume;
    const uint64_t _number;  // of the folder
    FileExtents _blocks;     // of the index, without its root
    uint32_t _blockBytes = 0;
    std::vector<NtfsIndexBlock> _path;  // from the root to the present block
    std::vector<bool> _visited;         // by the places of blocks in the index
    bool _hasGivenEntry = false;        // the present entry is to be left first
    NtfsReference _file = 0;
    NtfsIndexName _name;
};

}  // namespace vx
