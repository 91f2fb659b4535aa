// Opens an encrypted volume: reads its metadata, unlocks it and hands out its plaintext. Begin here
// to read the decryptor.
//
//   const Result<Secret> secret = Secret::FromPassword("...");
//   Result<UnlockedVolume> opened = VolumeOpener(source).Open(*secret);
//   opened->volume->ReadAt(...);  // on any thread
//
// Open takes up to a second of one core, and more for a volume with several passwords.
// Ownership: the opened volume shares the source; the secret may be wiped as soon as Open has
// returned. Threads: an opener belongs to one thread. From the first call of Open on, whatever it
// answers, the process leaves no core dump (CoreDumps.h).
#pragma once

#include "DecryptedVolume.h"
#include "RecoveryPasswords.h"
#include "Unlocker.h"

namespace vx::bitlocker {

// What is known about an opened volume besides its contents.
struct VolumeFacts {
    Layout layout = Layout::kWindows7;
    Method method = Method::kNone;  // kNone: no sector is encrypted
    uint32_t sectorSize = 0;        // bytes
    uint64_t encryptedSize = 0;     // bytes; 0 for Vista, which does not store it
    uint16_t state = 0;             // as the metadata has it: 1 decrypted, 4 encrypted
    uint16_t nextState = 0;         // the state that a running conversion leads to
    Guid identifier;                // of the volume
    std::string description;        // computer, label and date as Windows noted them; UTF-8
    uint64_t metadataOffset = 0;    // of the copy that was used
    std::string protectors;         // as ProtectorList
    UnlockedBy unlockedBy = UnlockedBy::kNothing;
    // The protector that was opened, with UnlockedBy::kProtector.
    ProtectorKind protectorKind = ProtectorKind::kClearKey;
    Guid protectorIdentifier;
    bool converting = false;  // a conversion map is in force
    bool truncated = false;   // the image is shorter than the volume
    // False: the first sector is not one of a known file system. The secret was right nevertheless.
    bool looksLikeFileSystem = false;
    // False: it was opened with a key of its sectors, and nothing shows that this is the right one.
    bool isKeyProven = true;
    std::vector<std::string> warnings;  // damage that did not prevent opening
};

struct UnlockedVolume {
    std::shared_ptr<const DecryptedVolume> volume;
    VolumeFacts facts;
    // Null if they were not to be kept, or the volume was not unlocked with its master key.
    std::shared_ptr<const RecoveryPasswords> recoveryPasswords = nullptr;
    // As before.
    std::shared_ptr<const KeyMaterial> masterKey = nullptr;
};

class VolumeOpener {
public:
    // cancel: may be null; must outlive the opener. stretcher: tests use one with fewer rounds.
    // progress: hears how far a search for the right one of several secrets is.
    explicit VolumeOpener(std::shared_ptr<const ByteSource> source,
                          const CancelFlag *cancel = nullptr,
                          KeyStretcher stretcher = KeyStretcher(), ProgressReceiver progress = {});

    // Whether the first 512 bytes are those of a BitLocker volume.
    static bool Recognises(ByteView firstSector);

    // Computer, label and date as Windows noted them, UTF-8, from the first sound copy of the
    // metadata that the boot sector names; empty if there is none. Reads three copies at most and
    // searches for no other.
    static std::string Describe(const ByteSource &source);

    // Before Open: its answer has the recovery passwords.
    void KeepRecoveryPasswords() { _keepsRecoveryPasswords = true; }

    // Before Open: its answer has the master key.
    void KeepMasterKey() { _keepsMasterKey = true; }

    // Before Open: once the master key is had it needs no record of which part is encrypted. What
    // the answer reads may be wrong then.
    void UnlockOnly() { _unlocksOnly = true; }

    // To be called once. Errors: every Status but kDamagedFileSystem.
    Result<UnlockedVolume> Open(const Secret &secret);

private:
    using VolumePointer = std::shared_ptr<const DecryptedVolume>;

    Error ReadMetadata();
    Result<UnlockedVolume> OpenRemains(const GivenSectorKey &key, const Error &failure);
    Result<UnlockedVolume> BuildProven(const MetadataBlock &block, Method method,
                                       const GivenSectorKey &key);
    void LoadMap();
    Error Unlock(const Secret &secret);
    bool NeedsNoKey() const;
    UnlockedKey WithoutKey() const;
    Error CheckReadable() const;
    Result<UnlockedVolume> Build() const;
    Result<UnlockedVolume> Finish(const VolumePointer &volume, bool looksLikeFileSystem) const;
    // The sizes to try, the likeliest first.
    std::vector<uint32_t> SectorSizes() const;
    Result<VolumePointer> MakeVolume(uint32_t sectorSize, bool flipRelocated) const;
    uint64_t VolumeSize(uint32_t sectorSize) const;
    VolumeFacts Facts(const DecryptedVolume &volume, bool looksLikeFileSystem) const;

    const std::shared_ptr<const ByteSource> _source;
    const CancelFlag *const _cancel;
    const KeyStretcher _stretcher;
    bool _keepsRecoveryPasswords = false;
    bool _keepsMasterKey = false;
    bool _unlocksOnly = false;
    const ProgressReceiver _progress;
    BootSector _boot;
    MetadataCopies _copies;
    std::optional<ConversionMap> _map;
    Error _mapError;
    UnlockedKey _key;  // refers to _copies
};

}  // namespace vx::bitlocker
