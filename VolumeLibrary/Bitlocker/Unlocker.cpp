#include "Unlocker.h"

#include "UnlockRefusal.h"

#include <algorithm>
#include <future>
#include <openssl/crypto.h>
#include <thread>

namespace vx::bitlocker {

namespace {

bool IsDigestRight(const MetadataBlock &copy, ByteView masterKey)
{
    if (!copy.wrappedDigest)
        return true;
    const std::optional<KeyMaterial> digest = copy.wrappedDigest->Unwrap(masterKey);
    return digest && digest->Size() == copy.digest.size() &&
           CRYPTO_memcmp(digest->Data(), copy.digest.data(), copy.digest.size()) == 0;
}

// Whether something in the copy was wrapped under the key.
bool IsMasterKeyOf(const MetadataBlock &copy, ByteView key)
{
    return (copy.wrappedSectorKey && copy.wrappedSectorKey->Unwrap(key)) ||
           (copy.wrappedDigest && copy.wrappedDigest->Unwrap(key));
}

// How many keys are stretched at the same time.
size_t Lanes()
{
    constexpr size_t kMostLanes = 8;
    return std::clamp<size_t>(std::thread::hardware_concurrency(), 1, kMostLanes);
}

}  // namespace

Unlocker::Unlocker(const std::vector<MetadataBlock> &copies, const KeyStretcher &stretcher,
                   const CancelFlag *cancel, ProgressReceiver progress)
    : _copies(copies), _stretcher(stretcher), _cancel(cancel), _progress(progress)
{
}

// The protectors of the kind, in stored order.
std::vector<Unlocker::Place> Unlocker::PlacesOf(ProtectorKind kind) const
{
    std::vector<Place> places;
    for (const MetadataBlock &copy : _copies)
        for (const Protector &protector : copy.protectors)
            if (protector.kind == kind && protector.wrappedMasterKey)
                places.push_back({&copy, &protector});
    return places;
}

std::optional<Unlocker::Opened> Unlocker::OpenClearKey() const
{
    for (const Place &place : PlacesOf(ProtectorKind::kClearKey)) {
        const Protector &protector = *place.protector;
        if (auto masterKey = protector.wrappedMasterKey->Unwrap(protector.clearKey))
            return Opened{std::move(*masterKey), place};
    }
    return std::nullopt;
}

// First each on the protectors that it names, then on the others.
std::optional<Unlocker::Opened> Unlocker::OpenWithStartupKeys(const KeyList &keys) const
{
    const std::vector<Place> places = PlacesOf(ProtectorKind::kExternalKey);
    for (const bool named : {true, false}) {
        for (size_t key = 0; key < keys.Size(); ++key) {
            if (keys.At(key).kind != ProtectorKind::kExternalKey)
                continue;
            if (IsCancelled(_cancel))
                return std::nullopt;
            for (const Place &place : places) {
                if (keys.At(key).Names(place.protector->identifier) != named)
                    continue;
                if (auto masterKey = place.protector->wrappedMasterKey->Unwrap(keys.Key(key)))
                    return Opened{std::move(*masterKey), place};
            }
        }
    }
    return std::nullopt;
}

// Those of some steps of the plan, at the same time.
std::vector<Result<KeyMaterial>> Unlocker::Stretch(const KeyList &keys, const StretchPlan &plan,
                                                   size_t first, size_t count) const
{
    const auto stretch = [&](size_t index) {
        const StretchPlan::Step &step = plan.Steps()[index];
        return _stretcher.Stretch(keys.Key(step.key), plan.Targets()[step.target].salt, _cancel);
    };
    std::vector<std::future<Result<KeyMaterial>>> others;
    for (size_t i = 1; i < count; ++i)
        others.push_back(
            std::async(std::launch::async | std::launch::deferred, stretch, first + i));
    std::vector<Result<KeyMaterial>> stretched;
    stretched.push_back(stretch(first));
    for (std::future<Result<KeyMaterial>> &other : others)
        stretched.push_back(other.get());
    return stretched;
}

std::optional<Unlocker::Opened> Unlocker::OpenStretched(const KeyList &keys,
                                                        const StretchPlan &plan) const
{
    const std::vector<StretchPlan::Step> &steps = plan.Steps();
    StepProgress progress(steps.size() > 1 ? _progress : ProgressReceiver(),
                          VolumeOpeningStep::kTryingSecrets, steps.size());
    const size_t lanes = Lanes();
    for (size_t first = 0; first < steps.size(); first += lanes) {
        const size_t count = std::min(lanes, steps.size() - first);
        const std::vector<Result<KeyMaterial>> stretched = Stretch(keys, plan, first, count);
        for (size_t i = 0; i < count; ++i) {
            if (!stretched[i])
                return std::nullopt;
            for (const Place &place : plan.Targets()[steps[first + i].target].places)
                if (auto masterKey =
                        place.protector->wrappedMasterKey->Unwrap(stretched[i]->View()))
                    return Opened{std::move(*masterKey), place};
        }
        progress.Report(first + count);
    }
    return std::nullopt;
}

Result<KeyMaterial> Unlocker::SectorKeyOf(const MetadataBlock &copy, ByteView masterKey)
{
    const auto damage = [](const char *detail) { return Error{Status::kDamagedMetadata, detail}; };
    const size_t size = SectorKeySize(static_cast<Method>(copy.method));
    if (size == 0)
        return Error{Status::kUnsupportedMethod, MethodName(static_cast<Method>(copy.method))};
    if (!copy.wrappedSectorKey)
        return damage("it holds no key for the sectors");
    std::optional<KeyMaterial> key = copy.wrappedSectorKey->Unwrap(masterKey);
    if (!key || key->Size() != size)
        return damage("its key for the sectors is damaged");
    if (!IsDigestRight(copy, masterKey))
        return damage("its digest is wrong");
    return std::move(*key);
}

// The copy that the master key came from is tried before the others.
Result<UnlockedKey> Unlocker::TakeSectorKey(Opened opened)
{
    std::vector<const MetadataBlock *> order = {opened.place.copy};
    for (const MetadataBlock &copy : _copies)
        if (&copy != opened.place.copy)
            order.push_back(&copy);
    Error failure;
    for (const MetadataBlock *copy : order) {
        Result<KeyMaterial> key = SectorKeyOf(*copy, opened.masterKey.View());
        if (key) {
            UnlockedKey unlocked;
            unlocked.sectorKey = std::move(*key);
            unlocked.masterKey = std::move(opened.masterKey);
            unlocked.copy = copy;
            unlocked.method = static_cast<Method>(copy->method);
            unlocked.warnings = std::move(_warnings);
            unlocked.by = UnlockedBy::kMasterKey;
            if (const Protector *protector = opened.place.protector) {
                unlocked.by = UnlockedBy::kProtector;
                unlocked.protectorKind = protector->kind;
                unlocked.protectorIdentifier = protector->identifier;
            }
            return unlocked;
        }
        if (!failure || key.Failure().status == Status::kDamagedMetadata)
            failure = key.Failure();
        _warnings.push_back("the copy of the metadata at " + std::to_string(copy->offset) +
                            " cannot be used: " + key.Failure().detail);
    }
    return failure;
}

Result<UnlockedKey> Unlocker::UseMasterKey(const Secret &secret)
{
    for (const MetadataBlock &copy : _copies)
        if (IsMasterKeyOf(copy, secret.MasterKey()))
            return TakeSectorKey({KeyMaterial(secret.MasterKey()), {&copy, nullptr}});
    return UnlockRefusal(_copies, secret);
}

Result<UnlockedKey> Unlocker::UseSectorKey(const GivenSectorKey &given)
{
    const MetadataBlock &copy = _copies.front();
    UnlockedKey unlocked;
    const auto stored = static_cast<Method>(copy.method);
    unlocked.method = given.StatedMethod() != Method::kNone ? given.StatedMethod() : stored;
    if (SectorKeySize(unlocked.method) == 0)
        return Error{Status::kUnsupportedMethod, MethodName(unlocked.method)};
    if (unlocked.method != stored && SectorKeySize(stored) != 0)
        return Error{Status::kWrongSecret,
                     "the key is given as one of " + MethodName(unlocked.method) +
                         ", but the volume is encrypted with " + MethodName(stored) +
                         ": give it as one of that method, or without one"};
    Result<KeyMaterial> key = given.KeyFor(unlocked.method);
    if (!key)
        return key.Failure();
    if (unlocked.method != stored)
        unlocked.warnings.push_back("the key is given as one of " + MethodName(unlocked.method) +
                                    ", but the volume is encrypted with " + MethodName(stored));
    unlocked.sectorKey = std::move(*key);
    unlocked.by = UnlockedBy::kSectorKey;
    unlocked.copy = &copy;
    return unlocked;
}

Result<UnlockedKey> Unlocker::UseKeys(const Secret &secret)
{
    std::optional<Opened> opened = OpenWithStartupKeys(secret.Keys());
    if (opened)
        return TakeSectorKey(std::move(*opened));
    const StretchPlan plan(_copies, secret.Keys());
    if (secret.IsCut() && plan.Steps().size() > 1)
        StepProgress(_progress, VolumeOpeningStep::kKeysLeftOut, secret.Keys().Size());
    opened = OpenStretched(secret.Keys(), plan);
    if (opened)
        return TakeSectorKey(std::move(*opened));
    if (IsCancelled(_cancel))
        return Error{Status::kCancelled, ""};
    return UnlockRefusal(_copies, secret, plan.LeftOut());
}

Result<UnlockedKey> Unlocker::Unlock(const Secret &secret)
{
    std::optional<Opened> suspended = OpenClearKey();
    if (suspended)
        return TakeSectorKey(std::move(*suspended));
    if (secret.SectorKey() != nullptr)
        return UseSectorKey(*secret.SectorKey());
    if (secret.MasterKey().size != 0)
        return UseMasterKey(secret);
    return UseKeys(secret);
}

}  // namespace vx::bitlocker
