#include "OpeningReason.h"

#include "VolumeLibraryStatus.h"

namespace vx {
namespace {

struct Sentence {
    VolumeLibraryStatus status;
    const char *text;
};

constexpr Sentence kSentences[] = {
    {VolumeLibraryStatus::kSuccess,
     "The volume could not be opened: reading it ended unexpectedly."},
    {VolumeLibraryStatus::kNotFound, "It is no longer there."},
    {VolumeLibraryStatus::kNotAFolder, "This cannot be opened as a volume."},
    {VolumeLibraryStatus::kPermissionDenied, "You have no permission to read it."},
    {VolumeLibraryStatus::kReadFailed, "It could not be read."},
    {VolumeLibraryStatus::kOutOfMemory, "There is not enough memory."},
    {VolumeLibraryStatus::kCancelled, "Cancelled."},
    {VolumeLibraryStatus::kNotEncrypted, "The volume is not encrypted. It opens without a secret."},
    {VolumeLibraryStatus::kMetadataDamaged, "The encryption metadata of the volume is damaged."},
    {VolumeLibraryStatus::kProtectorNotSupported,
     "The volume can only be unlocked in a way that is not supported."},
    {VolumeLibraryStatus::kNoProtectorOfThisKind,
     "The volume cannot be unlocked with a secret of this kind."},
    {VolumeLibraryStatus::kMethodNotSupported, "The method of encryption is not supported."},
    {VolumeLibraryStatus::kConversionMapDamaged,
     "The record of which part of the volume is encrypted is damaged."},
    {VolumeLibraryStatus::kConversionNotSupported,
     "Encrypting the volume stopped in a state that cannot be read."},
    {VolumeLibraryStatus::kImageTruncated, "The image or disk ends before the volume does."},
    {VolumeLibraryStatus::kFileSystemDamaged, "The file system of the volume is damaged."},
    {VolumeLibraryStatus::kFileSystemNotSupported,
     "The file system of the volume is not supported."},
    {VolumeLibraryStatus::kSeveralVolumes, "The disk has several volumes. Choose one."},
    {VolumeLibraryStatus::kContainerNotSupported, "This kind of disk image is not supported."},
    {VolumeLibraryStatus::kSecretNeeded, "The volume is encrypted. A password or a key is needed."},
    {VolumeLibraryStatus::kNoSuchVolume, "The disk no longer has this volume."},
};

const char *WrongSecret(SecretKind kind)
{
    if (kind == SecretKind::kPassword)
        return "This password does not open the volume.";
    if (kind == SecretKind::kRecoveryKey)
        return "This recovery key does not open the volume. Compare the key identifiers.";
    return "This key file does not open the volume.";
}

const char *MalformedSecret(SecretKind kind)
{
    if (kind == SecretKind::kPassword)
        return "This cannot be the password of a volume.";
    if (kind == SecretKind::kRecoveryKey)
        return "The recovery key is mistyped.";
    return "This is not a key file of this kind.";
}

}  // namespace

const char *OpeningReason(int32_t status, SecretKind kind)
{
    const auto known = static_cast<VolumeLibraryStatus>(status);
    if (known == VolumeLibraryStatus::kWrongSecret)
        return WrongSecret(kind);
    if (known == VolumeLibraryStatus::kSecretMalformed)
        return MalformedSecret(kind);
    for (const Sentence &sentence : kSentences) {
        if (sentence.status == known)
            return sentence.text;
    }
    return "The volume could not be opened because of an error of the program.";
}

}  // namespace vx
