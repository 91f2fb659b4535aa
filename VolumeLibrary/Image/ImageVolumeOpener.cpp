#include "ImageVolumeOpener.h"

#include "Bitlocker/VolumeOpener.h"
#include "Container.h"
#include "FatFileSystem.h"
#include "FileSystemVolume.h"
#include "NtfsFileSystem.h"
#include "ParallelSource.h"
#include "PartitionTable.h"
#include "StatusFromDecryptor.h"
#include "VolumeChoice.h"

#include <algorithm>

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;
using bitlocker::Result;
using bitlocker::Secret;

bool IsUnlocking(const ImageRequest &request)
{
    return request.unlock != UnlockKind::kNone;
}

Result<Secret> SecretOf(const ImageRequest &request)
{
    switch (request.unlock) {
    case UnlockKind::kPassword:
        return Secret::password(request.secret);
    case UnlockKind::kRecovery:
        return Secret::recoveryPassword(request.secret);
    case UnlockKind::kStartupKey:
        return Secret::startupKeyFile(request.secret);
    case UnlockKind::kNone:
        break;
    }
    return Secret::none();
}

// Without a secret nothing was wrong with the one that was given.
OpenError FromUnlocking(const bitlocker::Error &error, bool isUnlocking)
{
    OpenError told = FromDecryptor(error);
    const bool wantsSecret = told.status == VolumeLibraryStatus::kNoProtectorOfThisKind ||
                             told.status == VolumeLibraryStatus::kWrongSecret;
    if (!isUnlocking && wantsSecret)
        told.status = VolumeLibraryStatus::kSecretNeeded;
    return told;
}

OpenError Decrypt(const ImageRequest &request, Source *volume)
{
    const Result<Secret> secret = SecretOf(request);
    if (!secret)
        return FromDecryptor(secret.error());
    auto opened = bitlocker::VolumeOpener().open(*volume, *secret);
    if (!opened)
        return FromUnlocking(opened.error(), IsUnlocking(request));
    *volume = std::make_shared<ParallelSource>(opened->volume);
    return {};
}

OpenError OpenFileSystem(const Source &volume, bool wasEncrypted,
                         std::unique_ptr<FileSystem> *fileSystem)
{
    const FileSystemKind kind = ProbeFileSystem(*volume);
    switch (kind) {
    case FileSystemKind::kNtfs:
        return NtfsFileSystem::Open(volume, fileSystem);
    case FileSystemKind::kFat:
    case FileSystemKind::kExfat:
        return FatFileSystem::Open(volume, fileSystem);
    case FileSystemKind::kRefs:
        return {VolumeLibraryStatus::kFileSystemNotSupported, "it is ReFS"};
    case FileSystemKind::kEncrypted:
    case FileSystemKind::kUnknown:
        break;
    }
    return {wasEncrypted ? VolumeLibraryStatus::kFileSystemDamaged
                         : VolumeLibraryStatus::kFileSystemNotSupported,
            "there is no NTFS, FAT or exFAT and no encrypted volume"};
}

// A root that cannot be listed is of no use to anybody.
bool HasRoot(const FileSystem &fileSystem)
{
    const auto root = fileSystem.OpenFolder(fileSystem.Root());
    FolderEntry entry;
    return root && root->Next(&entry) != VolumeListing::Step::kError;
}

OpenError OpenOne(const ImageRequest &request, Source volume, std::unique_ptr<OwnedVolume> *opened)
{
    const bool isEncrypted = ProbeFileSystem(*volume) == FileSystemKind::kEncrypted;
    if (!isEncrypted && IsUnlocking(request))
        return {VolumeLibraryStatus::kNotEncrypted, "open it with \"none\""};
    if (isEncrypted) {
        if (OpenError error = Decrypt(request, &volume))
            return error;
    }
    std::unique_ptr<FileSystem> fileSystem;
    if (OpenError error = OpenFileSystem(volume, isEncrypted, &fileSystem))
        return error;
    if (!HasRoot(*fileSystem))
        return {VolumeLibraryStatus::kFileSystemDamaged, "its root folder cannot be read"};
    *opened = std::make_unique<FileSystemVolume>(std::move(fileSystem));
    return {};
}

// The one that is meant; the end of the list if that cannot be told. A secret can only be meant
// for an encrypted one.
std::vector<Partition>::const_iterator Choose(const std::vector<Partition> &partitions,
                                              size_t number, bool isUnlocking)
{
    if (number > 0)
        return number <= partitions.size() ? partitions.begin() + static_cast<long>(number - 1)
                                           : partitions.end();
    const auto fits = [&](const Partition &partition) {
        return !isUnlocking || partition.kind == FileSystemKind::kEncrypted;
    };
    const auto only = std::find_if(partitions.begin(), partitions.end(), fits);
    if (only == partitions.end())
        return partitions.size() == 1 ? partitions.begin() : partitions.end();
    const bool isOnly = std::none_of(std::next(only), partitions.end(), fits);
    return isOnly ? only : partitions.end();
}

OpenError OpenDisk(const ImageRequest &request, const Source &disk, size_t number,
                   std::unique_ptr<OwnedVolume> *opened)
{
    const std::vector<Partition> partitions = PartitionTable::Read(disk);
    if (partitions.empty())
        return {VolumeLibraryStatus::kFileSystemNotSupported,
                "there is no NTFS, FAT or exFAT and no encrypted volume"};
    const auto chosen = Choose(partitions, number, IsUnlocking(request));
    if (chosen != partitions.end())
        return OpenOne(request, chosen->In(disk), opened);
    return {number > 0 ? VolumeLibraryStatus::kNoSuchVolume : VolumeLibraryStatus::kSeveralVolumes,
            PartitionTable::Describe(partitions)};
}

}  // namespace

OpenError OpenImageVolume(const ImageRequest &request, std::unique_ptr<OwnedVolume> *volume)
{
    const VolumeChoice choice = VolumeChoice::Parse(request.device);
    Container container;
    if (OpenError error = OpenContainer(choice.path.c_str(), &container))
        return error;
    Source source = std::move(container.source);
    if (ProbeFileSystem(*source) == FileSystemKind::kUnknown)
        return OpenDisk(request, source, choice.number, volume);
    if (choice.number > 1)
        return {VolumeLibraryStatus::kNoSuchVolume, "it is one volume, without partitions"};
    return OpenOne(request, std::move(source), volume);
}

}  // namespace vx
