// Opens an encrypted volume: recognises it, reads its metadata, unlocks it and hands out its
// plaintext. The one header that a user of this library needs to begin with.
//
//   VolumeOpener opener;
//   auto secret = Secret::password("...");
//   auto opened = opener.open(source, *secret);   // up to a second of one core, and more for
//                                                 // volumes with several passwords
//   opened->volume->readAt(...);                  // any thread
//
// Ownership: the volume shares the source. Threads: an opener may be used by several threads at
// once, each with its own source. The secret may be wiped as soon as open has returned.
// From the first call of open on, whatever it answers, the process leaves no core dump
// (see CoreDumps.h).
#pragma once

#include "DecryptedVolume.h"
#include "Unlocker.h"

namespace vx::bitlocker {

// What is known about an opened volume besides its contents.
struct VolumeFacts {
    Layout layout = Layout::kWindows7;
    Method method = Method::kNone;
    uint32_t sectorSize = 0;
    uint64_t encryptedSize = 0;  // 0 for Vista, which does not store it
    uint16_t state = 0;
    uint16_t nextState = 0;
    Guid identifier;
    std::string description;      // computer, label and date as the system noted them; UTF-8
    uint64_t metadataOffset = 0;  // of the copy that was used
    std::string protectors;       // the kinds of protectors, for a person
    bool converting = false;      // a conversion map is in force
    bool truncated = false;       // the image is shorter than the volume
    // False: the first sector is none of a known file system; its damage is a matter of the
    // layer above, the secret was right.
    bool looksLikeFileSystem = false;
    std::vector<std::string> warnings;  // damage that did not prevent opening
};

struct OpenedVolume {
    std::shared_ptr<const DecryptedVolume> volume;
    VolumeFacts facts;
};

class VolumeOpener {
public:
    // The stretcher's rounds are those of the format unless a test asks for fewer.
    explicit VolumeOpener(KeyStretcher stretcher = KeyStretcher()) : _stretcher(stretcher) {}

    // Whether the first 512 bytes are those of a BitLocker volume. Cheap.
    static bool Recognises(const ByteSource &source);

    // Computer, label and date as the system noted them, UTF-8, from the first copy of the
    // metadata that is sound where the boot sector names it; empty if there is none. Cheap: reads
    // three copies at most and searches nothing.
    static std::string Describe(const ByteSource &source);

    // cancel: another thread may raise it; may be null. Errors: every Status but
    // DamagedFileSystem.
    Result<OpenedVolume> Open(std::shared_ptr<const ByteSource> source, const Secret &secret,
                              const CancelFlag *cancel = nullptr) const;

private:
    KeyStretcher _stretcher;
};

}  // namespace vx::bitlocker
