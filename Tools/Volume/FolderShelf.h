// Folders of a volume that are listed once and looked at more than once.
//
// Ownership: borrows the volume and its reports; keeps what it has listed until that is taken.
// Threads: one at a time. Paths: volume paths; the root is an empty text.
#pragma once

#include "FolderRecords.h"

#include <optional>
#include <string>
#include <unordered_map>

namespace vx {

class FolderShelf {
public:
    FolderShelf(IVolume &volume, const VolumeReports &reports) : _volume(volume), _reports(reports)
    {
    }

    // Stays until it is taken. Null if the folder cannot be listed.
    const FolderRecords *At(const std::u16string &path);

    // As VisitFolder, for the last time: what is kept of the folder goes.
    std::optional<VolumeListingReport> Take(const std::u16string &path, const RecordVisitor &visit);

private:
    using Listed = std::optional<FolderRecords>;

    IVolume &_volume;
    const VolumeReports &_reports;
    std::unordered_map<std::u16string, Listed> _folders;
};

}  // namespace vx
