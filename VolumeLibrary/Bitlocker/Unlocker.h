// From the secret to the key of the sectors.
//
// The clear key of a suspended volume is tried first, then every protector that the secret
// fits, in stored order and in every copy of the metadata. A secret is stretched once for each
// salt. Takes up to a second of one core for each protector of the kind, so not on the main
// thread; another thread may cancel it.
#pragma once

#include "KeyStretcher.h"
#include "MetadataLocator.h"
#include "Method.h"
#include "Secret.h"

#include <map>

namespace vx::bitlocker {

// What a volume was opened with.
enum class UnlockedBy {
    kNothing,    // no sector is encrypted
    kProtector,  // a protector and the secret that it wants, or its clear key
    kMasterKey,  // the volume master key itself
    kSectorKey,  // the key of the sectors itself
};

struct UnlockedKey {
    KeyMaterial sectorKey;
    KeyMaterial masterKey;  // empty if the sector key was given, or none was needed
    UnlockedBy by = UnlockedBy::kNothing;
    // With kProtector.
    ProtectorKind protectorKind = ProtectorKind::kClearKey;
    Guid protectorIdentifier;
    const MetadataBlock *copy = nullptr;  // the copy of the metadata that it came from
    Method method = Method::kNone;
    std::vector<std::string> warnings;
};

class Unlocker {
public:
    // The most stretchings of one secret: a volume that claims hundreds of protectors would keep
    // the caller waiting for minutes.
    static constexpr size_t kMostStretchings = 32;

    // copies: not empty. The arguments must outlive the unlocker and what it returns.
    Unlocker(const std::vector<MetadataBlock> &copies, const KeyStretcher &stretcher,
             const CancelFlag *cancel);

    // Errors: kNoProtectorOfKind, kUnsupportedProtector, kWrongSecret, kUnsupportedMethod,
    // kDamagedMetadata (no sector key although the secret is right), kCancelled. The
    // detail of the first three names every protector and, with a startup key of another volume,
    // the key files that this one needs.
    Result<UnlockedKey> Unlock(const Secret &secret);

private:
    // Of a protector that was opened.
    struct MasterKey {
        KeyMaterial key;
        const Protector *protector = nullptr;
    };

    std::optional<MasterKey> FindMasterKey(const MetadataBlock &copy, const Secret &secret);
    std::optional<KeyMaterial> OpenWith(const Protector &protector, const Secret &secret);
    ByteView Stretched(const Secret &secret, const Salt &salt);
    Result<UnlockedKey> TakeSectorKey(MasterKey masterKey, const MetadataBlock &first);
    Result<KeyMaterial> SectorKeyOf(const MetadataBlock &copy, ByteView masterKey);
    Error Refusal(const Secret &secret) const;

    const std::vector<MetadataBlock> &_copies;
    const KeyStretcher &_stretcher;
    const CancelFlag *const _cancel;
    std::map<Salt, KeyMaterial> _stretched;
    std::vector<std::string> _warnings;
};

}  // namespace vx::bitlocker
