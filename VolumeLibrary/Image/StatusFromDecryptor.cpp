#include "StatusFromDecryptor.h"

#include "StatusFromErrno.h"

namespace vx {
namespace {

VolumeLibraryStatus StatusOf(const bitlocker::Error &error)
{
    using Of = bitlocker::Status;
    switch (error.status) {
    case Of::Ok:
    case Of::Cancelled:  // nobody here raises the flag
        break;
    case Of::NotBitlocker:
        return VolumeLibraryStatus::kNotEncrypted;
    case Of::DamagedMetadata:
        return VolumeLibraryStatus::kMetadataDamaged;
    case Of::DamagedConversionMap:
        return VolumeLibraryStatus::kConversionMapDamaged;
    case Of::UnfinishedConversion:
        return VolumeLibraryStatus::kConversionNotSupported;
    case Of::MalformedSecret:
        return VolumeLibraryStatus::kSecretMalformed;
    case Of::NoProtectorOfKind:
        return VolumeLibraryStatus::kNoProtectorOfThisKind;
    case Of::WrongSecret:
        return VolumeLibraryStatus::kWrongSecret;
    case Of::UnsupportedProtector:
        return VolumeLibraryStatus::kProtectorNotSupported;
    case Of::UnsupportedMethod:
        return VolumeLibraryStatus::kMethodNotSupported;
    case Of::TruncatedImage:
        return VolumeLibraryStatus::kImageTruncated;
    case Of::DamagedFileSystem:
        return VolumeLibraryStatus::kFileSystemDamaged;
    case Of::SystemError:
        return StatusFromErrno(error.systemError);
    }
    return VolumeLibraryStatus::kInternalError;
}

}  // namespace

OpenError FromDecryptor(const bitlocker::Error &error)
{
    return {StatusOf(error), error.detail};
}

}  // namespace vx
