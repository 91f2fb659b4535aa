// One pass over a folder's entries: an open search of a folder volume.
//
// Each entry is reported once, in the folder's own order, without "." and "..". Sockets, FIFOs
// and devices are left out. A symbolic link to a file or folder of the volume is described as
// what it leads to, with the link attribute; any other link is a file of size 0, which does not
// open. Apart from links an entry costs one system call, and no memory is taken.
// Ownership: owns the open folder, borrows the root. Threads: one at a time.
#pragma once

#include "EntryStat.h"
#include "UniqueFd.h"
#include "VolumeListing.h"

#include <dirent.h>
#include <memory>
#include <string>

namespace vx {

class FolderRoot;

class FolderListing final : public VolumeListing {
public:
    // Begins to list the folder at relative; null if it cannot be listed. root must outlive it.
    static std::unique_ptr<FolderListing> Open(const FolderRoot &root, const std::string &relative);

    Step Next(VolumeFindData *record) override;
    // Not whole if the folder could not be read to its end, or if of an entry nothing but the name
    // could be read.
    VolumeListingReport Report() const override { return _report; }

private:
    struct CloseFolder {
        void operator()(DIR *folder) const { closedir(folder); }
    };

    FolderListing(const FolderRoot &root, const std::string &relative, DIR *folder);
    bool Describe(const dirent &entry, VolumeFindData *record);
    void Note(VolumeObstacle reason);
    EntryStat DescribeLink(const char *name, const EntryStat &link) const;

    const FolderRoot &_root;
    const std::string _relative;
    const std::unique_ptr<DIR, CloseFolder> _folder;
    VolumeListingReport _report;
};

}  // namespace vx
