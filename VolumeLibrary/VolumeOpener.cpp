#include "VolumeOpener.h"

#include "FolderVolume.h"
#include "Image/ImageVolumeOpener.h"
#include "UnlockKind.h"

#include <sys/stat.h>

namespace vx {
namespace {

bool IsFolder(const char *path)
{
    struct stat found;
    return stat(path, &found) == 0 && S_ISDIR(found.st_mode);
}

}  // namespace

OpenError OpenVolume(const OpenRequest &request, std::unique_ptr<OwnedVolume> *volume)
{
    const auto unlock = ParseUnlockKind(request.unlockKind);
    if (!unlock)
        return {VolumeLibraryStatus::kUnlockKindNotSupported, ""};
    if (!IsFolder(request.device))
        return OpenImageVolume({request.device, *unlock, request.secret}, volume);
    if (*unlock != UnlockKind::kNone)
        return {VolumeLibraryStatus::kNotEncrypted, "it is a folder; open it with \"none\""};
    return {FolderVolume::Open(request.device, volume), ""};
}

}  // namespace vx
