#include "DiskOpening.h"

#include "CarefulSource.h"
#include "Container.h"
#include "ContentsFileSystem.h"
#include "DiskVolumes.h"
#include "EncryptionFacts.h"
#include "FatFileSystem.h"
#include "FileSystemVolume.h"
#include "KnownContents.h"
#include "LostVolumes.h"
#include "NoFiles.h"
#include "NotingSource.h"
#include "NtfsFileSystem.h"
#include "OpeningFailure.h"
#include "ParallelSource.h"
#include "RecordingSource.h"
#include "RoundedSizeText.h"
#include "UnlockedWith.h"
#include "VolumeOpener.h"

#include <algorithm>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

// A volume whose root cannot be listed does not open.
bool HasRoot(const FileSystem &fileSystem)
{
    const auto root = fileSystem.OpenFolder(fileSystem.Root(), {});
    FolderEntry entry;
    return root && root->Next(&entry) != VolumeListing::Step::kError;
}

// A volume on the way to its file system.
struct FoundVolume {
    Source source;
    FileSystemKind kind;
    uint64_t stored;  // how many of its bytes the disk or image has
    // Of an encrypted volume: its first sector was lost and has been made again, and something says
    // where it ends.
    bool isRebuilt = false;
    bool isEndKnown = true;
};

class Opening {
public:
    Opening(const Container &container, const UnlockRequest &unlocking,
            const OpeningOptions &options)
        : _unlocking(unlocking),
          _careful(std::make_shared<CarefulSource>(container.source, container.files,
                                                   LimitsFor(container, options.limits))),
          _record(options.recordsReads ? std::make_shared<ReadRecord>() : nullptr),
          _disk(Recorded(_careful)),
          _opensContents(options.opensContents),
          _unlocksOnly(options.unlocksOnly),
          _progress(options.progress),
          _lost(_disk, unlocking.cancel, options.progress),
          _firstPart(container.firstPart),
          _keepsRecoveryPasswords(options.keepsRecoveryPasswords),
          _keepsMasterKey(options.keepsMasterKey),
          _notes(container.notes)
    {
    }

    Result<OpenedVolume> Open(const VolumeChoice &choice)
    {
        const Result<FoundVolume> plain =
            choice.offset ? UnlockAt(*choice.offset) : UnlockNumber(choice.number);
        if (!plain)
            return plain.Failure();
        if (IsCancelled(_unlocking.cancel))
            return Error{Status::kCancelled, ""};
        auto fileSystem = OpenFileSystem(*plain);
        if (!fileSystem)
            return WithDoubt(fileSystem.Failure(), _protectorsOfDoubt);
        auto volume = std::make_unique<FileSystemVolume>(std::move(*fileSystem));
        volume->SetDisk(_careful);
        volume->SetRecord(_record);
        volume->SetUnlocking(_unlocked);
        return OpenedVolume{std::move(volume), std::move(_notes)};
    }

private:
    Source Recorded(Source source) const
    {
        return _record != nullptr ? std::make_shared<RecordingSource>(std::move(source), _record)
                                  : std::move(source);
    }

    bool IsUnlocking() const { return _unlocking.kind != UnlockKind::kNone; }

    Result<FoundVolume> UnlockNumber(size_t number)
    {
        const Result<FoundVolume> found = FindVolume(number);
        return found ? Unlock(*found) : found;
    }

    // By an offset. If the volume may begin at several places, its contents show at which.
    Result<FoundVolume> UnlockAt(uint64_t offset)
    {
        const auto volumes = _lost.At(offset);
        if (!volumes)
            return volumes.Failure();
        const std::vector<std::string> notes = _notes;
        for (const RegainedVolume &volume : *volumes) {
            Result<FoundVolume> plain = Unlock(Regained(volume));
            const bool isRight = plain && (_unlocksOnly || plain->kind != FileSystemKind::kUnknown);
            if (isRight || !MayBeElsewhere(plain) || volumes->size() == 1)
                return plain;
            _notes = notes;
        }
        return Unlock(Regained(volumes->front()));
    }

    // Whether the volume may open if it begins at another place.
    static bool MayBeElsewhere(const Result<FoundVolume> &plain)
    {
        return plain || plain.Failure().status == Status::kTruncatedImage ||
               plain.Failure().status == Status::kSystemError;
    }

    // A volume that was lost, on the way to being unlocked.
    FoundVolume Regained(const RegainedVolume &volume)
    {
        if (!volume.note.empty())
            _notes.push_back(volume.note);
        const uint64_t stored = std::min(volume.source->Size(), _disk->Size() - volume.offset);
        return {volume.source, FileSystemKind::kEncrypted, stored, volume.isRebuilt,
                volume.isEndKnown};
    }

    // What shows a file system only by its backup may be an encrypted volume whose first sector is
    // lost: a part of it need not be encrypted.
    Result<FoundVolume> OfBackup(const FoundVolume &found, const Partition &place)
    {
        const auto lost = _lost.AtFrontOf(place);
        if (!lost)
            return lost.Failure();
        const bool isIt = lost->has_value() && (IsUnlocking() || (*lost)->hasPlainPart ||
                                                ResemblesEncrypted(*found.source));
        return isIt ? Regained(**lost) : found;
    }

    // The encrypted volume in one of these places that has lost its first sector, if there is one.
    Result<std::optional<FoundVolume>> FindLost(const std::vector<Partition> &places)
    {
        const auto lost = _lost.AtFrontOfOne(places);
        if (!lost)
            return lost.Failure();
        if (lost->has_value())
            return std::optional<FoundVolume>(Regained(**lost));
        _searchedInVain = _searchedInVain || !places.empty();
        return std::optional<FoundVolume>();
    }

    // The disk as a whole, or one of its partitions.
    Result<FoundVolume> FindVolume(size_t number)
    {
        constexpr uint64_t kSectorBytes = 512;
        const uint64_t size = _disk->Size();
        if (size < kSectorBytes)
            return Error{Status::kTruncatedImage,
                         size == 0 ? "it is empty" : "it is shorter than a sector"};
        bool isByBackup = false;
        const auto kind = ProbeFileSystem(*_disk, &isByBackup);
        if (!kind)
            return FindPartition(number, kind.Failure());
        if (*kind == FileSystemKind::kUnknown)
            return FindPartition(number, {});
        if (number > 1)
            return Error{Status::kNoSuchVolume, "it is one volume, without partitions"};
        const FoundVolume found = {_disk, *kind, size};
        return isByBackup ? OfBackup(found, AllOfDisk()) : found;
    }

    Partition AllOfDisk() const
    {
        Partition whole;
        whole.size = _disk->Size();
        return whole;
    }

    // Where an encrypted volume may be that has lost its first sector, if there is none that has
    // not. Without a secret only where it is not lost as a whole, and if nothing else opens.
    std::vector<Partition> PlacesOfLost(const DiskVolumes &table, size_t number) const
    {
        if (!IsUnlocking())
            return table.volumes.empty() ? PlacesOfDamaged(table) : std::vector<Partition>();
        if (!table.IsEmpty())
            return table.PlacesOfLost(_disk, number);
        const bool isKnown = KnownContents::FindMarked(*_disk) != nullptr;
        return isKnown ? std::vector<Partition>() : std::vector<Partition>{AllOfDisk()};
    }

    std::vector<Partition> PlacesOfDamaged(const DiskVolumes &table) const
    {
        std::vector<Partition> places(table.others.begin(), table.others.end());
        places.push_back(AllOfDisk());
        places.erase(std::remove_if(places.begin(), places.end(),
                                    [this](const Partition &place) {
                                        return !ResemblesEncrypted(*place.In(_disk));
                                    }),
                     places.end());
        return places;
    }

    // unread: why the first sector cannot be read, if it cannot.
    Result<FoundVolume> FindPartition(size_t number, const Error &unread)
    {
        const DiskVolumes table = DiskVolumes::Read(_disk);
        const auto lost = FindLost(PlacesOfLost(table, number));
        if (!lost)
            return lost.Failure();
        if (lost->has_value())
            return **lost;
        if (table.volumes.empty())
            return WholeDisk(number, table, unread ? unread : table.unread);
        const DiskVolume *chosen = table.Choose(number, IsUnlocking());
        if (chosen == nullptr)
            return table.NotChosen(_disk, number);
        if (table.unread.status == Status::kTruncatedImage)
            _notes.push_back("the image or device ends early: " + table.unread.detail);
        if (!table.note.empty())
            _notes.push_back(table.note);
        const std::string others = number == 0 ? table.DescribeOthers(_disk) : "";
        if (!others.empty())
            _notes.push_back("the disk also holds " + others);
        const Source source = chosen->In(_disk);
        const auto kind = IfLookedAt(KindOf(*chosen, source), IsUnlocking());
        if (!kind)
            return kind.Failure();
        if (Error error = CheckPieces(*chosen, *source, *kind))
            return error;
        const uint64_t stored = std::min(chosen->size, _disk->Size() - chosen->offset);
        const FoundVolume found = {source, *kind, stored};
        return chosen->isByBackup ? OfBackup(found, *chosen) : found;
    }

    // A disk without a volume is one for who wants only its contents, unless they are packed.
    // unread: why a place that would show a volume cannot be read, if one cannot.
    Result<FoundVolume> WholeDisk(size_t number, const DiskVolumes &table, const Error &unread)
    {
        const bool isWanted = _opensContents && !IsUnlocking() && number <= 1;
        if (unread && !(isWanted && PassOver(unread)))
            return unread;
        const Error nothing = NothingFound(table);
        if (!isWanted || nothing.status != Status::kUnsupportedFileSystem)
            return nothing;
        return FoundVolume{_disk, FileSystemKind::kUnknown, _disk->Size()};
    }

    // For who wants only the contents a place that cannot be read is no more than a part that they
    // lack, with a warning. False for one that is needed.
    bool PassOver(const Error &unread)
    {
        if (!_opensContents || _careful->IsGone())
            return false;
        _notes.push_back("a place that shows what is in it could not be read (" + unread.detail +
                         "): it may hold something that was not recognised");
        return true;
    }

    // kUnknown in place of a failure to look that is passed over.
    Result<FileSystemKind> IfLookedAt(const Result<FileSystemKind> &kind, bool isNeeded)
    {
        const bool isUnknown = !kind && !isNeeded && PassOver(kind.Failure());
        return isUnknown ? FileSystemKind::kUnknown : kind;
    }

    // The list of volumes has the kind, but not why a first sector cannot be read.
    static Result<FileSystemKind> KindOf(const DiskVolume &volume, const Source &source)
    {
        const bool isRead = volume.kind != FileSystemKind::kUnreadable;
        return isRead ? volume.kind : ProbeFileSystem(*source);
    }

    Error NothingFound(const DiskVolumes &table) const
    {
        if (!_firstPart.empty())
            return {Status::kUnsupportedContainer,
                    "it seems to be a later part of an image; give the first one, " + _firstPart};
        Error whole = NothingThatOpens(*_disk, _wasEncrypted);
        const std::string others = table.DescribeOthers(_disk);
        if (whole.detail == kNothingKnown && !others.empty())
            whole.detail = "it holds " + others;
        whole.detail = WithSearchAdvice(whole.detail);
        return whole;
    }

    std::string WithSearchAdvice(const std::string &text) const
    {
        return _searchedInVain ? WithSearchHint(text) : text;
    }

    // The pieces of a volume that are elsewhere would be read as if they were here.
    Error CheckPieces(const DiskVolume &partition, const ByteSource &volume, FileSystemKind kind)
    {
        if (partition.use != PartitionUse::kDynamicDisk)
            return {};
        if (FileSystemBytes(volume, kind) > partition.size)
            return {
                Status::kUnsupportedFileSystem,
                "it is a volume of a Windows dynamic disk that continues on another disk: attach all "
                "of its disks to a Windows computer"};
        _notes.push_back("it is a volume of a Windows dynamic disk; if it is made of several "
                         "pieces, its files are wrong");
        return {};
    }

    // The plaintext of an encrypted volume; another one as it is.
    Result<FoundVolume> Unlock(const FoundVolume &volume)
    {
        _wasEncrypted = volume.kind == FileSystemKind::kEncrypted;
        if (!_wasEncrypted && IsUnlocking())
            return Error{Status::kNotBitlocker, WithSearchAdvice("open it with \"none\"")};
        if (!_wasEncrypted)
            return volume;
        const Result<Source> decrypted = Decrypt(volume.source);
        if (!decrypted)
            return decrypted.Failure();
        if (_unlocksOnly)
            return FoundVolume{*decrypted, FileSystemKind::kUnknown, volume.stored};
        const bool needsFirst = volume.isRebuilt && _layout == bitlocker::Layout::kVista;
        const Source plain = needsFirst ? WithFirstSector(*decrypted, &_notes) : *decrypted;
        const auto kind = IfLookedAt(KindOfPlain(*plain), !_protectorsOfDoubt.empty());
        if (!kind)
            return WithDoubt(kind.Failure(), _protectorsOfDoubt);
        const Source whole = volume.isEndKnown ? plain : CutToFileSystem(plain, *kind);
        return FoundVolume{whole, *kind, std::min(volume.stored, whole->Size())};
    }

    // Nothing proves a key of the sectors that was given but what it decrypts. Of a volume that is
    // only partly encrypted the backup of the first sector may not be.
    Result<FileSystemKind> KindOfPlain(const ByteSource &plain) const
    {
        bool isByBackup = false;
        auto kind = ProbeFileSystem(plain, &isByBackup);
        if (kind && isByBackup && !_protectorsOfDoubt.empty())
            kind = FileSystemKind::kUnknown;
        return kind;
    }

    // Only a ring of keys asks for them.
    std::vector<Guid> ProtectorsOf(const ByteSource &volume) const
    {
        using bitlocker::EncryptionFacts;
        std::vector<Guid> identifiers;
        if (_unlocking.kind != UnlockKind::kKeyRing)
            return identifiers;
        const auto facts = EncryptionFacts::Read(volume, EncryptionFacts::MapReading::kForbidden);
        if (facts && facts->copy)
            for (const bitlocker::Protector &protector : facts->copy->protectors)
                identifiers.push_back(protector.identifier);
        return identifiers;
    }

    Result<Source> Decrypt(const Source &volume)
    {
        const Result<bitlocker::Secret> secret = SecretOf(_unlocking, ProtectorsOf(*volume));
        if (!secret)
            return secret.Failure();
        bitlocker::VolumeOpener opener(volume, _unlocking.cancel, bitlocker::KeyStretcher(),
                                       _progress);
        if (_keepsRecoveryPasswords)
            opener.KeepRecoveryPasswords();
        if (_keepsMasterKey)
            opener.KeepMasterKey();
        if (_unlocksOnly)
            opener.UnlockOnly();
        auto opened = opener.Open(*secret);
        if (!opened)
            return WithoutSecret(opened.Failure());
        _unlocked = std::make_shared<UnlockedWith>(*opened);
        _layout = opened->facts.layout;
        const std::vector<std::string> &warnings = opened->facts.warnings;
        _notes.insert(_notes.end(), warnings.begin(), warnings.end());
        _protectorsOfDoubt = opened->facts.isKeyProven ? "" : opened->facts.protectors;
        return Source(std::make_shared<ParallelSource>(opened->volume));
    }

    // Without a secret, the failure is that one is needed.
    Error WithoutSecret(Error error) const
    {
        const bool wantsSecret =
            error.status == Status::kNoProtectorOfKind || error.status == Status::kWrongSecret;
        if (!IsUnlocking() && wantsSecret)
            error.status = Status::kSecretNeeded;
        return error;
    }

    Result<std::unique_ptr<FileSystem>> OpenFileSystem(const FoundVolume &volume)
    {
        if (_unlocksOnly)
            return std::unique_ptr<FileSystem>(std::make_unique<NoFiles>());
        const uint64_t stated = FileSystemBytes(*volume.source, volume.kind);
        const uint64_t needed = std::max(volume.source->Size(), stated);
        const bool isCut = needed > volume.stored;
        if (isCut)
            _notes.push_back(CutText(needed - volume.stored));
        const auto noting = std::make_shared<NotingSource>(Recorded(volume.source));
        if (_record != nullptr)
            _record->EndOpening();
        if (_opensContents && !_protectorsOfDoubt.empty())
            if (Error error = ProveByFiles(volume.kind, noting, isCut))
                return error;
        return _opensContents ? OpenContents(volume.kind, noting)
                              : OpenFiles(volume.kind, noting, isCut);
    }

    Result<std::unique_ptr<FileSystem>>
    OpenFiles(FileSystemKind kind, const std::shared_ptr<NotingSource> &volume, bool isCut)
    {
        auto fileSystem = OpenByKind(kind, volume);
        if (!fileSystem)
            return WithReadFailure(fileSystem.Failure(), *volume, isCut);
        if (!HasRoot(**fileSystem))
            return WithReadFailure({Status::kDamagedFileSystem, "its root folder cannot be read"},
                                   *volume, isCut);
        return fileSystem;
    }

    // Whether a key that nothing proves gives a file system that opens; the notes about that one
    // are not wanted.
    Error ProveByFiles(FileSystemKind kind, const std::shared_ptr<NotingSource> &volume, bool isCut)
    {
        std::vector<std::string> notes = _notes;
        const auto fileSystem = OpenFiles(kind, volume, isCut);
        _notes = std::move(notes);
        return fileSystem ? Error() : fileSystem.Failure();
    }

    Result<std::unique_ptr<FileSystem>> OpenContents(FileSystemKind kind, const Source &volume)
    {
        if (volume->Size() > INT64_MAX)
            return Error{Status::kUnsupportedFileSystem, "it is larger than any file can be"};
        if (kind == FileSystemKind::kUnknown)
            _notes.push_back(NoteOnContents(NothingThatOpens(*volume, _wasEncrypted).detail));
        return std::unique_ptr<FileSystem>(std::make_unique<ContentsFileSystem>(volume));
    }

    // They may be those of an encrypted volume that has lost its beginning.
    static std::string NoteOnContents(const std::string &text)
    {
        return text == kNothingKnown ? WithSearchHint(text) : text;
    }

    Result<std::unique_ptr<FileSystem>> OpenByKind(FileSystemKind kind, const Source &volume)
    {
        switch (kind) {
        case FileSystemKind::kNtfs:
            return NtfsFileSystem::Open(volume, &_notes);
        case FileSystemKind::kFat:
        case FileSystemKind::kExfat:
            return FatFileSystem::Open(volume, &_notes);
        case FileSystemKind::kRefs:
            return Error{Status::kUnsupportedFileSystem,
                         "it is a ReFS file system: open it on a Windows computer"};
        case FileSystemKind::kEncrypted:
        case FileSystemKind::kUnknown:
        case FileSystemKind::kUnreadable:
            break;
        }
        return NothingThatOpens(*volume, _wasEncrypted);
    }

    const UnlockRequest _unlocking;
    const std::shared_ptr<const CarefulSource> _careful;
    const std::shared_ptr<ReadRecord> _record;  // null if nothing is recorded
    const Source _disk;
    const bool _opensContents;  // and not the file system in them
    const bool _unlocksOnly;    // and opens neither
    const ProgressReceiver _progress;
    const LostVolumes _lost;
    const std::string _firstPart;
    const bool _keepsRecoveryPasswords;
    const bool _keepsMasterKey;
    std::shared_ptr<const VolumeUnlocking> _unlocked;  // null if it is not encrypted
    std::vector<std::string> _notes;
    bool _wasEncrypted = false;
    std::string _protectorsOfDoubt;  // of a volume whose key nothing proves; else empty
    bitlocker::Layout _layout = bitlocker::Layout::kWindows7;  // of what was encrypted
    bool _searchedInVain = false;  // for a volume that lost its first sector
};

}  // namespace

Result<OpenedVolume> OpenDisk(const std::string &device, const UnlockRequest &unlocking,
                              const OpeningOptions &options)
{
    const VolumeChoice choice = VolumeChoice::Parse(device);
    const auto container = OpenContainer(choice.path, options.limits.retries);
    if (!container)
        return container.Failure();
    if (options.NamesPlaces() && container->form != nullptr)
        return Error{Status::kPlacesNotKept, "it is " + std::string(container->form)};
    return OpenDiskContents(*container, choice, unlocking, options);
}

Result<OpenedVolume> OpenDiskContents(const Container &container, const VolumeChoice &choice,
                                      const UnlockRequest &unlocking, const OpeningOptions &options)
{
    return Opening(container, unlocking, options).Open(choice);
}

}  // namespace vx
