// What open_bitlocker_device returns, for every program that loads the volume library.
// The header stands alone: it needs neither the library nor any other header of ours.
//
// The entry takes three UTF-8 texts and the place for the volume:
//   1. what to open: the path of a folder, an image or a device; of a disk with several volumes
//      "PATH#2" is the second one of its list; "PATH@1048576" is the encrypted volume that begins
//      at this byte, or has a copy of its metadata there, whatever the first sector and the table
//      of partitions are;
//   2. how it is unlocked, and 3. the secret:
//      "none"           ignored
//      "password"       the password
//      "recovery"       the recovery password of 48 digits
//      "startup-key"    the path of the startup key file
//      "recovery-file"  the path of a text file in which Windows saved a recovery key
//      "key-ring"       the path of a folder or file with many recovery keys and startup keys
//      "vmk"            the volume master key: 64 hexadecimal digits, or the path of its file
//      "fvek"           the key of the sectors: hexadecimal digits, with the method before them and
//                       a colon between if need be ("aes-xts-128:00ff..."), or the path of its file
//      "host-channel"   the number of a descriptor that the process has inherited: all three texts
//                       come over it, and what is noticed later is reported over it
//                       (ChannelMessages.h)
// A status other than 0 always comes with a null volume. The numbers never change their
// meaning: 1 to 19 concern opening anything at all, 20 to 39 encrypted disks and images.
//
// A program may say more than the status does: VolumeLibraryLastErrorFunction, looked up under
// the name "volume_library_last_error", answers with the details of the last opening on the same
// thread, e.g. which groups of a recovery key are mistyped, how the volume can be unlocked or
// which volumes a disk has. After a success it answers with what was noticed, a line each: that
// the image ends early, that a part is missing, that a copy of the metadata is damaged. English,
// UTF-8, without a full stop, empty if there is nothing to add; it never contains a secret. An
// older library has no such function. Details that begin with one of kKeyFileDetails mean that the
// status concerns this file and not the volume; show them before the status.
#pragma once

#include <cstdint>

using VolumeLibraryLastErrorFunction = const char *(*)();

// But for the last one they continue with its path.
constexpr const char *kKeyFileDetails[] = {"the startup key file ", "the recovery file at ",
                                           "the key ring at ", "the file with the key"};

enum class VolumeLibraryStatus : int32_t {
    kSuccess = 0,

    kArgumentMissing = 1,         // one of the four pointers is null
    kUnlockKindNotSupported = 2,  // the second text names no known kind of unlock
    kNotFound = 3,                // nothing has the given path; as 4 to 6 also of a key file
    kNotAFolder = 4,              // neither a folder nor, if supported, a disk or an image
    kPermissionDenied = 5,        // the folder or device may not be read by this user
    kReadFailed = 6,              // the system failed to open or read it for another reason
    kOutOfMemory = 7,
    kInternalError = 8,  // a defect of the library, never of its input
    kCancelled = 9,      // by VolumeLibraryCancelOpeningFunction

    kNotEncrypted = 20,            // a secret was given for a volume that is not encrypted
    kMetadataDamaged = 21,         // no usable copy of the encryption metadata is left
    kWrongSecret = 22,             // the secret is well formed and opens no protector
    kSecretMalformed = 23,         // the secret cannot be one of its kind
    kProtectorNotSupported = 24,   // only protectors that this library cannot use
    kNoProtectorOfThisKind = 25,   // no protector takes the given kind of secret
    kMethodNotSupported = 26,      // an unknown encryption method
    kConversionMapDamaged = 27,    // which part is encrypted is not known
    kConversionNotSupported = 28,  // encryption or decryption stopped in an unreadable state
    kImageTruncated = 29,          // the device ends before the volume does
    kFileSystemDamaged = 30,       // unlocked, but the file system cannot be read
    kFileSystemNotSupported = 31,  // what the disk or the unlocked volume holds does not open
    kSeveralVolumes = 32,          // the disk holds several volumes and none was chosen
    kContainerNotSupported = 33,   // a kind of image that is not supported
    kSecretNeeded = 34,            // encrypted, and "none" does not open it
    // 35 is not used.
    kNoSuchVolume = 36,   // the disk has none of the chosen number or at the chosen offset
    kPlacesNotKept = 37,  // a map of the disk was given or wanted for what is no raw image of one
};

struct VolumeLibraryStatusMeaning {
    VolumeLibraryStatus status;
    const char *text;
};

inline constexpr VolumeLibraryStatusMeaning kVolumeLibraryStatusMeanings[] = {
    {VolumeLibraryStatus::kSuccess, "the volume is open"},
    {VolumeLibraryStatus::kArgumentMissing,
     "the volume library was called without an argument that it needs"},
    {VolumeLibraryStatus::kUnlockKindNotSupported,
     "this kind of unlock is not known; there are none, password, recovery, startup-key, "
     "recovery-file, key-ring, vmk and fvek"},
    {VolumeLibraryStatus::kNotFound, "there is nothing at this path"},
    {VolumeLibraryStatus::kNotAFolder, "the path leads to nothing that can be opened as a volume"},
    {VolumeLibraryStatus::kPermissionDenied, "no permission to read it"},
    {VolumeLibraryStatus::kReadFailed, "it could not be read"},
    {VolumeLibraryStatus::kOutOfMemory, "there is not enough memory"},
    {VolumeLibraryStatus::kInternalError, "the volume library failed unexpectedly"},
    {VolumeLibraryStatus::kCancelled, "opening the volume was cancelled"},
    {VolumeLibraryStatus::kNotEncrypted, "the volume is not encrypted"},
    {VolumeLibraryStatus::kMetadataDamaged, "the encryption metadata is damaged"},
    {VolumeLibraryStatus::kWrongSecret, "the secret does not open this volume"},
    {VolumeLibraryStatus::kSecretMalformed, "the secret is not written correctly"},
    {VolumeLibraryStatus::kProtectorNotSupported,
     "the volume can only be unlocked in a way that is not supported here"},
    {VolumeLibraryStatus::kNoProtectorOfThisKind,
     "the volume cannot be unlocked with a secret of this kind"},
    {VolumeLibraryStatus::kMethodNotSupported,
     "the volume is encrypted with a method that is not supported"},
    {VolumeLibraryStatus::kConversionMapDamaged,
     "the record of which part of the volume is encrypted is damaged"},
    {VolumeLibraryStatus::kConversionNotSupported,
     "encrypting or decrypting the volume stopped in a state that cannot be read"},
    {VolumeLibraryStatus::kImageTruncated, "the image or device ends before the volume does"},
    {VolumeLibraryStatus::kFileSystemDamaged, "the file system of the volume is damaged"},
    {VolumeLibraryStatus::kFileSystemNotSupported,
     "the file system of the volume is not supported"},
    {VolumeLibraryStatus::kSeveralVolumes,
     "the disk holds several volumes; choose one with # and its number after the path"},
    {VolumeLibraryStatus::kContainerNotSupported, "the kind of disk image is not supported"},
    {VolumeLibraryStatus::kSecretNeeded,
     "the volume is encrypted; a password, a recovery password or a key is needed"},
    {VolumeLibraryStatus::kNoSuchVolume, "the disk has no such volume"},
    {VolumeLibraryStatus::kPlacesNotKept, "a map only fits a disk or a raw image of one"},
};

// The status in plain words: no capital at the start, no full stop, so that it can follow a
// colon. Never null; a number without a meaning has a text too.
inline const char *VolumeLibraryStatusText(int32_t status)
{
    for (const VolumeLibraryStatusMeaning &meaning : kVolumeLibraryStatusMeanings) {
        if (static_cast<int32_t>(meaning.status) == status)
            return meaning.text;
    }
    return "the volume library answered with an unknown status";
}
