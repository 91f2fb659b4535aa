#include "StatusFromErrno.h"

#include <cerrno>

namespace vx {

VolumeLibraryStatus StatusFromErrno(int error)
{
    switch (error) {
    case ENOENT:
        return VolumeLibraryStatus::kNotFound;
    case ENOTDIR:
        return VolumeLibraryStatus::kNotAFolder;
    case EACCES:
    case EPERM:
        return VolumeLibraryStatus::kPermissionDenied;
    case ENOMEM:
        return VolumeLibraryStatus::kOutOfMemory;
    default:
        return VolumeLibraryStatus::kReadFailed;
    }
}

}  // namespace vx
