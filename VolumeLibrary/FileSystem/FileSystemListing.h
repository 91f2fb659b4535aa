// One pass over a folder of a file system: an open search. At the end of the folder, or where it
// cannot be read, the names so far are handed to the index, unless it has all of them already.
//
// A second folder of the same name is left out, and reported as missing: its path leads to the
// first one, which would be found twice with all that lies below.
// Ownership: borrows the index. Threads: one at a time.
#pragma once

#include "FolderIndex.h"
#include "SortedRuns.h"
#include "VolumeListing.h"

namespace vx {

class FileSystemListing final : public VolumeListing {
public:
    // index must outlive the listing.
    FileSystemListing(FolderIndex *index, uint64_t folder, const Way &way,
                      std::unique_ptr<FolderReader> reader);

    Step Next(VolumeFindData *record) override;
    VolumeListingReport Report() const override;
    // The node of one name; reads all names that can be read. Nothing if it is not there.
    std::optional<Node> ReadToEnd(std::string_view name);

private:
    Step Take();
    bool IsFirstOfName();
    void Finish(bool isComplete);

    FolderIndex &_index;
    const uint64_t _folder;
    const Way _way;
    const std::unique_ptr<FolderReader> _reader;
    const bool _isKnown;  // whether the index has all names
    FolderEntry _entry;
    uint64_t _sameNames = 0;                                          // folders that were left out
    SortedRuns<uint64_t> _folderNames;                                // hashes
    std::shared_ptr<FolderMap> _map = std::make_shared<FolderMap>();  // null after the end
};

}  // namespace vx
