#include "ImageVolumeOpener.h"

#include "Bitlocker/VolumeOpener.h"
#include "CarefulSource.h"
#include "Container.h"
#include "FatFileSystem.h"
#include "FileSystemVolume.h"
#include "KnownContents.h"
#include "NotingSource.h"
#include "NtfsFileSystem.h"
#include "ParallelSource.h"
#include "PartitionTable.h"
#include "StatusFromDecryptor.h"
#include "VolumeChoice.h"

#include <algorithm>

namespace vx {
namespace {

constexpr const char *kNothingKnown =
    "there is no NTFS, FAT or exFAT, no encrypted volume and nothing else that is known";
constexpr const char *kNothingUnlocked =
    "it was unlocked, but there is no NTFS, FAT or exFAT in it";

using Source = std::shared_ptr<const bitlocker::ByteSource>;
using bitlocker::Result;
using bitlocker::Secret;
using Notes = std::vector<std::string>;

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
    OpenError translated = FromDecryptor(error);
    const bool wantsSecret = translated.status == VolumeLibraryStatus::kNoProtectorOfThisKind ||
                             translated.status == VolumeLibraryStatus::kWrongSecret;
    if (!isUnlocking && wantsSecret)
        translated.status = VolumeLibraryStatus::kSecretNeeded;
    return translated;
}

OpenError Decrypt(const ImageRequest &request, Source *volume, Notes *notes)
{
    const Result<Secret> secret = SecretOf(request);
    if (!secret)
        return FromDecryptor(secret.error());
    auto opened = bitlocker::VolumeOpener().open(*volume, *secret);
    if (!opened)
        return FromUnlocking(opened.error(), IsUnlocking(request));
    *volume = std::make_shared<ParallelSource>(opened->volume);
    const Notes &warnings = opened->facts.warnings;
    notes->insert(notes->end(), warnings.begin(), warnings.end());
    return {};
}

// What no file system that opens is in.
OpenError NothingThatOpens(const bitlocker::ByteSource &source, bool wasEncrypted)
{
    using Form = KnownContents::Form;
    const KnownContents *known = KnownContents::Find(source);
    const VolumeLibraryStatus unknown = wasEncrypted ? VolumeLibraryStatus::kFileSystemDamaged
                                                     : VolumeLibraryStatus::kFileSystemNotSupported;
    if (known == nullptr)
        return {unknown, wasEncrypted ? kNothingUnlocked : kNothingKnown};
    const std::string sentence = (wasEncrypted ? "it was unlocked, but " : "") + known->Sentence();
    if (known->form == Form::kBlank)
        return {unknown, sentence};
    return {known->form == Form::kContainer ? VolumeLibraryStatus::kContainerNotSupported
                                            : VolumeLibraryStatus::kFileSystemNotSupported,
            sentence};
}

OpenError OpenFileSystem(FileSystemKind kind, const Source &volume, bool wasEncrypted, Notes *notes,
                         std::unique_ptr<FileSystem> *fileSystem)
{
    switch (kind) {
    case FileSystemKind::kNtfs:
        return NtfsFileSystem::Open(volume, notes, fileSystem);
    case FileSystemKind::kFat:
    case FileSystemKind::kExfat:
        return FatFileSystem::Open(volume, notes, fileSystem);
    case FileSystemKind::kRefs:
        return {VolumeLibraryStatus::kFileSystemNotSupported,
                "it is a ReFS file system: open it on a Windows computer"};
    case FileSystemKind::kEncrypted:
    case FileSystemKind::kUnknown:
    case FileSystemKind::kUnreadable:
        break;
    }
    return NothingThatOpens(*volume, wasEncrypted);
}

// A root that cannot be listed is of no use to anybody.
bool HasRoot(const FileSystem &fileSystem)
{
    const auto root = fileSystem.OpenFolder(fileSystem.Root(), {});
    FolderEntry entry;
    return root && root->Next(&entry) != VolumeListing::Step::kError;
}

OpenError OpenAndList(FileSystemKind kind, const Source &volume, bool wasEncrypted, Notes *notes,
                      std::unique_ptr<FileSystem> *fileSystem)
{
    if (OpenError error = OpenFileSystem(kind, volume, wasEncrypted, notes, fileSystem))
        return error;
    if (!HasRoot(**fileSystem))
        return {VolumeLibraryStatus::kFileSystemDamaged, "its root folder cannot be read"};
    return {};
}

std::string CutText(uint64_t missingBytes)
{
    constexpr uint64_t kMiB = uint64_t{1} << 20;
    const std::string amount = missingBytes < kMiB ? std::to_string(missingBytes) + " bytes"
                                                   : std::to_string(missingBytes / kMiB) + " MiB";
    return "the image or device ends " + amount +
           " before the volume does; what lies there cannot be read";
}

// What looks like damage was perhaps only not read. What lies beyond the end of a volume that is
// complete, though, was looked for there because of damage.
OpenError WithReadFailure(OpenError error, const NotingSource &volume, bool isCut)
{
    const bitlocker::Error failure = volume.Failure();
    const bool explains = failure.status == bitlocker::Status::SystemError ||
                          (failure.status == bitlocker::Status::TruncatedImage && isCut);
    if (error.status != VolumeLibraryStatus::kFileSystemDamaged || !explains)
        return error;
    OpenError translated = FromDecryptor(failure);
    translated.detail = error.detail + ": " + translated.detail;
    return translated;
}

// A volume, and how many of its bytes the disk or image has.
struct Place {
    Source volume;
    uint64_t stored;
};

OpenError OpenOne(const ImageRequest &request, const Place &place, Notes *notes,
                  std::unique_ptr<FileSystemVolume> *opened)
{
    Source volume = place.volume;
    const auto outside = ProbeFileSystem(*volume);
    if (!outside)
        return FromDecryptor(outside.error());
    const bool isEncrypted = *outside == FileSystemKind::kEncrypted;
    if (!isEncrypted && IsUnlocking(request))
        return {VolumeLibraryStatus::kNotEncrypted, "open it with \"none\""};
    if (isEncrypted) {
        if (OpenError error = Decrypt(request, &volume, notes))
            return error;
    }
    const auto kind = ProbeFileSystem(*volume);
    if (!kind)
        return FromDecryptor(kind.error());
    const uint64_t needed = std::max(volume->size(), FileSystemBytes(*volume, *kind));
    if (needed > place.stored)
        notes->push_back(CutText(needed - place.stored));
    const auto noting = std::make_shared<NotingSource>(std::move(volume));
    std::unique_ptr<FileSystem> fileSystem;
    if (OpenError error = OpenAndList(*kind, noting, isEncrypted, notes, &fileSystem))
        return WithReadFailure(std::move(error), *noting, needed > place.stored);
    *opened = std::make_unique<FileSystemVolume>(std::move(fileSystem));
    return {};
}

// The one that is meant; the end of the list if that is not known. A secret can only be meant
// for an encrypted one, or for one of which nothing is known since it cannot be read.
std::vector<Partition>::const_iterator Choose(const std::vector<Partition> &partitions,
                                              size_t number, bool isUnlocking)
{
    if (number > 0)
        return number <= partitions.size() ? partitions.begin() + static_cast<long>(number - 1)
                                           : partitions.end();
    const auto fits = [&](const Partition &partition) {
        return !isUnlocking || partition.kind == FileSystemKind::kEncrypted ||
               partition.kind == FileSystemKind::kUnreadable;
    };
    const auto only = std::find_if(partitions.begin(), partitions.end(), fits);
    if (only == partitions.end())
        return partitions.size() == 1 ? partitions.begin() : partitions.end();
    const bool isOnly = std::none_of(std::next(only), partitions.end(), fits);
    return isOnly ? only : partitions.end();
}

OpenError NothingFound(const Container &disk, const PartitionTable &table,
                       const bitlocker::Error &unread)
{
    if (unread || table.unread)
        return FromDecryptor(unread ? unread : table.unread);
    if (!disk.firstPart.empty())
        return {VolumeLibraryStatus::kContainerNotSupported,
                "it seems to be a later part of an image; give the first one, " + disk.firstPart};
    OpenError whole = NothingThatOpens(*disk.source, false);
    const std::string others = table.DescribeOthers(disk.source);
    if (whole.detail == kNothingKnown && !others.empty())
        whole.detail = "it holds " + others;
    return whole;
}

OpenError NotChosen(const PartitionTable &table, const PartitionTable::Source &disk, size_t number)
{
    std::string list = table.DescribeVolumes(disk);
    const std::string others = table.DescribeOthers(disk);
    if (!others.empty())
        list += "; without a number, since it does not open here: " + others;
    if (number == 0 && table.unread.status == bitlocker::Status::SystemError)
        list += "; there may be more, since part of the table of partitions cannot be read";
    if (!table.note.empty())
        list += "; " + table.note;
    if (number == 0)
        return {VolumeLibraryStatus::kSeveralVolumes, std::move(list)};
    if (!table.unread)
        return {VolumeLibraryStatus::kNoSuchVolume, std::move(list)};
    OpenError error = FromDecryptor(table.unread);
    error.detail += "; there are " + list;
    return error;
}

// The pieces of a volume that are elsewhere would be read as if they were here.
OpenError CheckPieces(const Partition &partition, const Source &volume, Notes *notes)
{
    const auto kind = ProbeFileSystem(*volume);
    if (partition.use != PartitionUse::kDynamicDisk || !kind)
        return {};
    if (FileSystemBytes(*volume, *kind) > partition.size)
        return {VolumeLibraryStatus::kFileSystemNotSupported,
                "it is a volume of a Windows dynamic disk that goes on elsewhere: attach all of "
                "its disks to a Windows computer"};
    notes->push_back("it is a volume of a Windows dynamic disk; if it is made of several pieces, "
                     "its files are wrong");
    return {};
}

// unread: why the first sector cannot be read, if it cannot.
OpenError OpenDisk(const ImageRequest &request, const Container &disk, size_t number,
                   const bitlocker::Error &unread, Notes *notes,
                   std::unique_ptr<FileSystemVolume> *opened)
{
    const PartitionTable table = PartitionTable::Read(disk.source);
    if (table.volumes.empty())
        return NothingFound(disk, table, unread);
    const bool mayLack = table.unread.status == bitlocker::Status::SystemError;
    const auto chosen = number == 0 && mayLack
                            ? table.volumes.end()
                            : Choose(table.volumes, number, IsUnlocking(request));
    if (chosen == table.volumes.end())
        return NotChosen(table, disk.source, number);
    if (table.unread.status == bitlocker::Status::TruncatedImage)
        notes->push_back("the image or device ends early: " + table.unread.detail);
    if (!table.note.empty())
        notes->push_back(table.note);
    const std::string others = number == 0 ? table.DescribeOthers(disk.source) : "";
    if (!others.empty())
        notes->push_back("the disk also holds " + others);
    const Source volume = chosen->In(disk.source);
    if (OpenError error = CheckPieces(*chosen, volume, notes))
        return error;
    const uint64_t stored = std::min(chosen->size, disk.source->size() - chosen->offset);
    return OpenOne(request, {volume, stored}, notes, opened);
}

OpenError OpenContents(const ImageRequest &request, const Container &container, size_t number,
                       Notes *notes, std::unique_ptr<FileSystemVolume> *volume)
{
    constexpr uint64_t kSectorBytes = 512;
    const uint64_t size = container.source->size();
    if (size < kSectorBytes)
        return {VolumeLibraryStatus::kImageTruncated,
                size == 0 ? "it is empty" : "it is shorter than a sector"};
    const auto kind = ProbeFileSystem(*container.source);
    if (!kind)
        return OpenDisk(request, container, number, kind.error(), notes, volume);
    if (*kind == FileSystemKind::kUnknown)
        return OpenDisk(request, container, number, {}, notes, volume);
    if (number > 1)
        return {VolumeLibraryStatus::kNoSuchVolume, "it is one volume, without partitions"};
    return OpenOne(request, {container.source, size}, notes, volume);
}

std::string Lines(const Notes &notes)
{
    std::string lines;
    for (const std::string &note : notes)
        lines += (lines.empty() ? "" : "\n") + note;
    return lines;
}

}  // namespace

OpenError OpenImageVolume(const ImageRequest &request, std::unique_ptr<OwnedVolume> *volume)
{
    const VolumeChoice choice = VolumeChoice::Parse(request.device);
    Container container;
    if (OpenError error = OpenContainer(choice.path.c_str(), &container))
        return error;
    return OpenImageContents(request, container, choice.number, volume);
}

OpenError OpenImageContents(const ImageRequest &request, const Container &container, size_t number,
                            std::unique_ptr<OwnedVolume> *volume)
{
    const auto disk = std::make_shared<CarefulSource>(container.source, container.files);
    Container careful = container;
    careful.source = disk;
    Notes notes = container.notes;
    std::unique_ptr<FileSystemVolume> opened;
    if (OpenError error = OpenContents(request, careful, number, &notes, &opened))
        return error;
    opened->SetDisk(disk);
    *volume = std::move(opened);
    return {VolumeLibraryStatus::kSuccess, Lines(notes)};
}

}  // namespace vx
