#include "FolderVolume.h"

#include "FolderFile.h"
#include "FolderListing.h"

namespace vx {

VolumeLibraryStatus FolderVolume::Open(const char *path, std::unique_ptr<OwnedVolume> *volume)
{
    std::optional<FolderRoot> root;
    const VolumeLibraryStatus status = FolderRoot::Open(path, &root);
    if (status == VolumeLibraryStatus::kSuccess)
        *volume = std::make_unique<FolderVolume>(std::move(*root));
    return status;
}

std::unique_ptr<VolumeListing> FolderVolume::OpenListing(const VolumePath &folder)
{
    return FolderListing::Open(_root, folder.Relative());
}

std::unique_ptr<VolumeFile> FolderVolume::OpenVolumeFile(const VolumePath &file)
{
    UniqueFd opened = _root.OpenFile(file.Relative());
    return opened ? std::make_unique<FolderFile>(std::move(opened)) : nullptr;
}

VolumeEntryReport FolderVolume::Describe(const VolumePath &)
{
    return {};
}

}  // namespace vx
