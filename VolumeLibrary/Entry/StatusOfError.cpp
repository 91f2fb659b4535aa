#include "StatusOfError.h"

#include <cerrno>

namespace vx {
namespace {

VolumeLibraryStatus StatusOfSystemError(const Error &error)
{
    if (IsPermissionError(error))
        return VolumeLibraryStatus::kPermissionDenied;
    switch (error.systemError) {
    case ENOENT:
        return VolumeLibraryStatus::kNotFound;
    case ENOTDIR:
        return VolumeLibraryStatus::kNotAFolder;
    case ENOMEM:
        return VolumeLibraryStatus::kOutOfMemory;
    default:
        return VolumeLibraryStatus::kReadFailed;
    }
}

}  // namespace

VolumeLibraryStatus StatusOfError(const Error &error)
{
    switch (error.status) {
    case Status::kOk:
        return VolumeLibraryStatus::kSuccess;
    case Status::kNotBitlocker:
        return VolumeLibraryStatus::kNotEncrypted;
    case Status::kDamagedMetadata:
        return VolumeLibraryStatus::kMetadataDamaged;
    case Status::kDamagedConversionMap:
        return VolumeLibraryStatus::kConversionMapDamaged;
    case Status::kUnfinishedConversion:
        return VolumeLibraryStatus::kConversionNotSupported;
    case Status::kMalformedSecret:
        return VolumeLibraryStatus::kSecretMalformed;
    case Status::kNoProtectorOfKind:
        return VolumeLibraryStatus::kNoProtectorOfThisKind;
    case Status::kWrongSecret:
        return VolumeLibraryStatus::kWrongSecret;
    case Status::kSecretNeeded:
        return VolumeLibraryStatus::kSecretNeeded;
    case Status::kUnsupportedUnlockKind:
        return VolumeLibraryStatus::kUnlockKindNotSupported;
    case Status::kUnsupportedProtector:
        return VolumeLibraryStatus::kProtectorNotSupported;
    case Status::kUnsupportedMethod:
        return VolumeLibraryStatus::kMethodNotSupported;
    case Status::kUnsupportedContainer:
        return VolumeLibraryStatus::kContainerNotSupported;
    case Status::kDamagedContainer:
        return VolumeLibraryStatus::kReadFailed;
    case Status::kTruncatedImage:
        return VolumeLibraryStatus::kImageTruncated;
    case Status::kNotAVolume:
        return VolumeLibraryStatus::kNotAFolder;
    case Status::kSeveralVolumes:
        return VolumeLibraryStatus::kSeveralVolumes;
    case Status::kNoSuchVolume:
        return VolumeLibraryStatus::kNoSuchVolume;
    case Status::kPlacesNotKept:
        return VolumeLibraryStatus::kPlacesNotKept;
    case Status::kUnsupportedFileSystem:
        return VolumeLibraryStatus::kFileSystemNotSupported;
    case Status::kDamagedFileSystem:
        return VolumeLibraryStatus::kFileSystemDamaged;
    case Status::kSystemError:
        return StatusOfSystemError(error);
    case Status::kCancelled:
        return VolumeLibraryStatus::kCancelled;
    }
    return VolumeLibraryStatus::kInternalError;
}

}  // namespace vx
