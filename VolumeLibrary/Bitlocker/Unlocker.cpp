#include "Unlocker.h"

#include <algorithm>
#include <openssl/crypto.h>

namespace vx::bitlocker {

namespace {

// The protectors of a kind in stored order, but the one that a startup key names first.
std::vector<const Protector *> ProtectorsFor(const MetadataBlock &copy, const Secret &secret)
{
    std::vector<const Protector *> found;
    for (const Protector &protector : copy.protectors)
        if (protector.kind == secret.Kind())
            found.push_back(&protector);
    std::stable_partition(found.begin(), found.end(), [&](const Protector *protector) {
        return protector->identifier == secret.Protector();
    });
    return found;
}

bool IsDigestRight(const MetadataBlock &copy, ByteView masterKey)
{
    if (!copy.wrappedDigest)
        return true;
    const std::optional<KeyMaterial> digest = copy.wrappedDigest->Unwrap(masterKey);
    return digest && digest->Size() == copy.digest.size() &&
           CRYPTO_memcmp(digest->Data(), copy.digest.data(), copy.digest.size()) == 0;
}

// "1A2B3C4D-....BEK", as Windows names the file of a startup key.
std::string KeyFileName(const Guid &protector)
{
    return protector.Capitals() + ".BEK";
}

// The files of the startup keys present, each once: "1A2B....BEK or 5E6F....BEK".
std::string WantedKeyFiles(const std::vector<Protector> &present)
{
    std::vector<std::string> names;
    for (const Protector &protector : present) {
        const std::string name = KeyFileName(protector.identifier);
        if (protector.kind == ProtectorKind::kExternalKey && names.size() < kMostNamed &&
            std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : " or ") + name;
    return text;
}

// Which volume a startup key belongs to that does not open this one.
std::string AboutKeyFile(const Secret &secret, const std::vector<Protector> &present)
{
    const auto meant =
        std::find_if(present.begin(), present.end(), [&](const Protector &protector) {
            return protector.identifier == secret.Protector();
        });
    const std::string given = KeyFileName(secret.Protector());
    if (meant != present.end() && meant->kind != ProtectorKind::kExternalKey)
        return "the key file is the one for " + ProtectorKindName(meant->kind) + " together; ";
    if (meant != present.end())
        return "the key file is the one of this volume, " + given +
               ", but the key in it is another one; ";
    return "the key file is " + given + ", but this volume needs " + WantedKeyFiles(present) + "; ";
}

}  // namespace

Unlocker::Unlocker(const std::vector<MetadataBlock> &copies, const KeyStretcher &stretcher,
                   const CancelFlag *cancel)
    : _copies(copies), _stretcher(stretcher), _cancel(cancel)
{
}

// Empty when cancelled, or after too many stretchings.
ByteView Unlocker::Stretched(const Secret &secret, const Salt &salt)
{
    const auto known = _stretched.find(salt);
    if (known != _stretched.end())
        return known->second.View();
    if (_stretched.size() == kMostStretchings)
        return {};
    Result<KeyMaterial> key = _stretcher.Stretch(secret.Key(), salt, _cancel);
    if (!key)
        return {};
    return _stretched.emplace(salt, std::move(*key)).first->second.View();
}

std::optional<KeyMaterial> Unlocker::OpenWith(const Protector &protector, const Secret &secret)
{
    if (!protector.wrappedMasterKey)
        return std::nullopt;
    if (protector.kind == ProtectorKind::kClearKey)
        return protector.wrappedMasterKey->Unwrap(protector.clearKey);
    if (!secret.IsStretched())
        return protector.wrappedMasterKey->Unwrap(secret.Key());
    if (!protector.salt)
        return std::nullopt;
    return protector.wrappedMasterKey->Unwrap(Stretched(secret, *protector.salt));
}

std::optional<Unlocker::MasterKey> Unlocker::FindMasterKey(const MetadataBlock &copy,
                                                           const Secret &secret)
{
    for (const Protector *protector : ProtectorsFor(copy, secret)) {
        if (IsCancelled(_cancel))
            return std::nullopt;
        if (std::optional<KeyMaterial> key = OpenWith(*protector, secret))
            return MasterKey{std::move(*key), protector};
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

// first is tried before the other copies.
Result<UnlockedKey> Unlocker::TakeSectorKey(MasterKey masterKey, const MetadataBlock &first)
{
    std::vector<const MetadataBlock *> order = {&first};
    for (const MetadataBlock &copy : _copies)
        if (&copy != &first)
            order.push_back(&copy);
    Error failure;
    for (const MetadataBlock *copy : order) {
        Result<KeyMaterial> key = SectorKeyOf(*copy, masterKey.key.View());
        if (key)
            return UnlockedKey{std::move(*key),
                               std::move(masterKey.key),
                               UnlockedBy::kProtector,
                               masterKey.protector->kind,
                               masterKey.protector->identifier,
                               copy,
                               static_cast<Method>(copy->method),
                               std::move(_warnings)};
        if (!failure || key.Failure().status == Status::kDamagedMetadata)
            failure = key.Failure();
        _warnings.push_back("the copy of the metadata at " + std::to_string(copy->offset) +
                            " cannot be used: " + key.Failure().detail);
    }
    return failure;
}

Error Unlocker::Refusal(const Secret &secret) const
{
    std::vector<Protector> present;
    for (const MetadataBlock &copy : _copies)
        present.insert(present.end(), copy.protectors.begin(), copy.protectors.end());
    const std::string names = "the volume has: " + ProtectorList(present);
    const auto fits = [&](const Protector &protector) { return protector.kind == secret.Kind(); };
    const auto supported = [](const Protector &protector) { return IsSupported(protector.kind); };
    if (std::any_of(present.begin(), present.end(), fits))
        return {
            Status::kWrongSecret,
            (secret.Kind() == ProtectorKind::kExternalKey ? AboutKeyFile(secret, present) : "") +
                names};
    if (!present.empty() && std::none_of(present.begin(), present.end(), supported))
        return {Status::kUnsupportedProtector, names};
    return {Status::kNoProtectorOfKind, names};
}

Result<UnlockedKey> Unlocker::Unlock(const Secret &secret)
{
    const Secret clearKey = Secret::None();
    for (const Secret *tried : {&clearKey, &secret}) {
        for (const MetadataBlock &copy : _copies) {
            std::optional<MasterKey> masterKey = FindMasterKey(copy, *tried);
            if (masterKey)
                return TakeSectorKey(std::move(*masterKey), copy);
        }
    }
    if (IsCancelled(_cancel))
        return Error{Status::kCancelled, ""};
    return Refusal(secret);
}

}  // namespace vx::bitlocker
