// A plain folder as a volume, for reading only.
//
// How entries are shown: FolderListing.h (links, what is left out), EntryRecord.h
// (attributes) and NameMapping.h (names); which paths are refused in VolumePath.h.
// Ownership: owns the open root folder. Threads: any number at a time, each with handles of its
// own.
#pragma once

#include "FolderRoot.h"
#include "HandleVolume.h"

#include <memory>
#include <utility>

namespace vx {

class FolderVolume final : public HandleVolume {
public:
    // Errors: kSystemError without a detail.
    static Result<std::unique_ptr<OwnedVolume>> Open(const char *path);

    explicit FolderVolume(FolderRoot root) : _root(std::move(root)) {}

    bool IsGone() override { return _root.Presence()->IsGone(); }

protected:
    std::unique_ptr<VolumeListing> OpenListing(const VolumePath &folder) override;
    std::unique_ptr<VolumeFile> OpenVolumeFile(const VolumePath &file) override;
    VolumeEntryReport Describe(const VolumePath &entry) override;
    bool DescribeWhole(VolumeFileSystemReport *report) override;

private:
    void DescribeLink(const std::string &link, VolumeEntryReport *report) const;

    FolderRoot _root;
};

}  // namespace vx
