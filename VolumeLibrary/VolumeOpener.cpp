#include "VolumeOpener.h"

#include "FolderVolume.h"

#include <string_view>

namespace vx {

VolumeLibraryStatus OpenVolume(const OpenRequest &request, std::unique_ptr<OwnedVolume> *volume)
{
    const std::string_view kind = request.unlockKind;
    if (kind != "none")
        return VolumeLibraryStatus::kUnlockKindNotSupported;
    return FolderVolume::Open(request.device, volume);
}

}  // namespace vx
