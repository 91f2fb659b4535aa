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

// Where nobody below has said what helps.
OpenError WithAdvice(OpenError error, const char *advice)
{
    if (error.status == VolumeLibraryStatus::kPermissionDenied && error.detail.empty())
        error.detail = advice;
    return error;
}

OpenError OpenFolder(const char *path, std::unique_ptr<OwnedVolume> *volume)
{
    return WithAdvice({FolderVolume::Open(path, volume), ""},
                      "let your user read the folder: chmod u+rx FOLDER as its owner");
}

}  // namespace

OpenError OpenVolume(const OpenRequest &request, std::unique_ptr<OwnedVolume> *volume)
{
    const auto unlock = ParseUnlockKind(request.unlockKind);
    if (!unlock)
        return {VolumeLibraryStatus::kUnlockKindNotSupported, ""};
    if (!IsFolder(request.device))
        return WithAdvice(OpenImageVolume({request.device, *unlock, request.secret}, volume),
                          "let your user enter the folders on the way to it: chmod u+x FOLDER as "
                          "their owner");
    if (*unlock != UnlockKind::kNone)
        return {VolumeLibraryStatus::kNotEncrypted, "it is a folder; open it with \"none\""};
    return OpenFolder(request.device, volume);
}

}  // namespace vx
