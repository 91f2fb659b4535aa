// From the secret to the key of the sectors.
//
// The clear key of a suspended volume is tried first. Then keys are tried on the protectors of
// their kind in every copy of the metadata: first those that need no stretching, then the others in
// the order of StretchPlan.h, on several cores if there are several to stretch. Each takes up to a
// second of one core, so not on the main thread; another thread may cancel it.
// A raw master key needs no protector: the sector key is authenticated by it. A raw sector key is
// authenticated by nothing.
#pragma once

#include "KeyStretcher.h"
#include "MetadataLocator.h"
#include "Method.h"
#include "Secret.h"
#include "StepProgress.h"
#include "StretchPlan.h"

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
    // copies: not empty. The arguments must outlive the unlocker and what it returns. progress:
    // hears of kTryingSecrets if more than one stretching may be needed; it counts them.
    Unlocker(const std::vector<MetadataBlock> &copies, const KeyStretcher &stretcher,
             const CancelFlag *cancel, ProgressReceiver progress = {});

    // Errors: kNoProtectorOfKind, kUnsupportedProtector, kWrongSecret, with what UnlockRefusal.h
    // says; kMalformedSecret (a sector key of a length that does not fit), kUnsupportedMethod,
    // kDamagedMetadata (no sector key although the secret is right), kCancelled.
    Result<UnlockedKey> Unlock(const Secret &secret);

private:
    using Place = StretchPlan::Place;

    // place.protector: null for a master key that was given.
    struct Opened {
        KeyMaterial masterKey;
        Place place;
    };

    std::vector<Place> PlacesOf(ProtectorKind kind) const;
    std::optional<Opened> OpenClearKey() const;
    std::optional<Opened> OpenWithStartupKeys(const KeyList &keys) const;
    std::optional<Opened> OpenStretched(const KeyList &keys, const StretchPlan &plan) const;
    std::vector<Result<KeyMaterial>> Stretch(const KeyList &keys, const StretchPlan &plan,
                                             size_t first, size_t count) const;
    Result<UnlockedKey> UseKeys(const Secret &secret);
    Result<UnlockedKey> UseMasterKey(const Secret &secret);
    Result<UnlockedKey> UseSectorKey(const GivenSectorKey &given);
    Result<UnlockedKey> TakeSectorKey(Opened opened);
    static Result<KeyMaterial> SectorKeyOf(const MetadataBlock &copy, ByteView masterKey);

    const std::vector<MetadataBlock> &_copies;
    const KeyStretcher &_stretcher;
    const CancelFlag *const _cancel;
    const ProgressReceiver _progress;
    std::vector<std::string> _warnings;
};

}  // namespace vx::bitlocker
