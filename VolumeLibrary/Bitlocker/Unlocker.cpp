#include "Unlocker.h"

#include <algorithm>
#include <openssl/crypto.h>

namespace vx::bitlocker {

namespace {

// The protectors of a kind in stored order, but the one that a startup key names first.
std::vector<const Protector *> protectorsFor(const MetadataBlock &copy, const Secret &secret)
{
    std::vector<const Protector *> found;
    for (const Protector &protector : copy.protectors)
        if (protector.kind == secret.kind())
            found.push_back(&protector);
    std::stable_partition(found.begin(), found.end(), [&](const Protector *protector) {
        return protector->identifier == secret.protector();
    });
    return found;
}

bool isDigestRight(const MetadataBlock &copy, ByteView masterKey)
{
    if (!copy.wrappedDigest)
        return true;
    const std::optional<KeyMaterial> digest = copy.wrappedDigest->unwrap(masterKey);
    return digest && digest->size() == copy.digest.size() &&
           CRYPTO_memcmp(digest->data(), copy.digest.data(), copy.digest.size()) == 0;
}

// "1A2B3C4D-....BEK", as Windows names the file of a startup key.
std::string keyFileName(const Guid &protector)
{
    return protector.capitals() + ".BEK";
}

// The files of the startup keys present, each once: "1A2B....BEK or 5E6F....BEK".
std::string wantedKeyFiles(const std::vector<Protector> &present)
{
    std::vector<std::string> names;
    for (const Protector &protector : present) {
        const std::string name = keyFileName(protector.identifier);
        if (protector.kind == ProtectorKind::ExternalKey && names.size() < kMostNamed &&
            std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : " or ") + name;
    return text;
}

// What a startup key that does not open the volume is of.
std::string aboutKeyFile(const Secret &secret, const std::vector<Protector> &present)
{
    const auto meant =
        std::find_if(present.begin(), present.end(), [&](const Protector &protector) {
            return protector.identifier == secret.protector();
        });
    const std::string given = keyFileName(secret.protector());
    if (meant != present.end() && meant->kind != ProtectorKind::ExternalKey)
        return "the key file is the one for " + protectorKindName(meant->kind) + " together; ";
    if (meant != present.end())
        return "the key file is the one of this volume, " + given +
               ", but the key in it is another one; ";
    return "the key file is " + given + ", and this volume wants " + wantedKeyFiles(present) + "; ";
}

}  // namespace

Unlocker::Unlocker(const std::vector<MetadataBlock> &copies, const KeyStretcher &stretcher,
                   const CancelFlag *cancel)
    : _copies(copies), _stretcher(stretcher), _cancel(cancel)
{
}

// Empty when cancelled or when too much was stretched already.
ByteView Unlocker::stretched(const Secret &secret, const Salt &salt)
{
    const auto known = _stretched.find(salt);
    if (known != _stretched.end())
        return known->second.view();
    if (_stretched.size() == kMostStretchings)
        return {};
    Result<KeyMaterial> key = _stretcher.stretch(secret.key(), salt, _cancel);
    if (!key)
        return {};
    return _stretched.emplace(salt, std::move(*key)).first->second.view();
}

std::optional<KeyMaterial> Unlocker::openWith(const Protector &protector, const Secret &secret)
{
    if (!protector.wrappedMasterKey)
        return std::nullopt;
    if (protector.kind == ProtectorKind::ClearKey)
        return protector.wrappedMasterKey->unwrap(protector.clearKey);
    if (!secret.isStretched())
        return protector.wrappedMasterKey->unwrap(secret.key());
    if (!protector.salt)
        return std::nullopt;
    return protector.wrappedMasterKey->unwrap(stretched(secret, *protector.salt));
}

std::optional<KeyMaterial> Unlocker::findMasterKey(const MetadataBlock &copy, const Secret &secret)
{
    for (const Protector *protector : protectorsFor(copy, secret)) {
        if (isCancelled(_cancel))
            return std::nullopt;
        if (std::optional<KeyMaterial> key = openWith(*protector, secret))
            return key;
    }
    return std::nullopt;
}

Result<KeyMaterial> Unlocker::sectorKeyOf(const MetadataBlock &copy, ByteView masterKey)
{
    const auto damage = [](const char *detail) { return Error{Status::DamagedMetadata, detail}; };
    const size_t size = sectorKeySize(static_cast<Method>(copy.method));
    if (size == 0)
        return Error{Status::UnsupportedMethod, methodName(static_cast<Method>(copy.method))};
    if (!copy.wrappedSectorKey)
        return damage("it holds no key for the sectors");
    std::optional<KeyMaterial> key = copy.wrappedSectorKey->unwrap(masterKey);
    if (!key || key->size() != size)
        return damage("its key for the sectors is damaged");
    if (!isDigestRight(copy, masterKey))
        return damage("its digest is wrong");
    return std::move(*key);
}

// first is tried before the other copies.
Result<UnlockedKey> Unlocker::takeSectorKey(ByteView masterKey, const MetadataBlock &first)
{
    std::vector<const MetadataBlock *> order = {&first};
    for (const MetadataBlock &copy : _copies)
        if (&copy != &first)
            order.push_back(&copy);
    Error failure;
    for (const MetadataBlock *copy : order) {
        Result<KeyMaterial> key = sectorKeyOf(*copy, masterKey);
        if (key)
            return UnlockedKey{std::move(*key), copy, static_cast<Method>(copy->method),
                               std::move(_warnings)};
        if (!failure || key.error().status == Status::DamagedMetadata)
            failure = key.error();
        _warnings.push_back("the copy of the metadata at " + std::to_string(copy->offset) +
                            " cannot be used: " + key.error().detail);
    }
    return failure;
}

Error Unlocker::refusal(const Secret &secret) const
{
    std::vector<Protector> present;
    for (const MetadataBlock &copy : _copies)
        present.insert(present.end(), copy.protectors.begin(), copy.protectors.end());
    const std::string names = "the volume has: " + protectorList(present);
    const auto fits = [&](const Protector &protector) { return protector.kind == secret.kind(); };
    const auto supported = [](const Protector &protector) { return isSupported(protector.kind); };
    if (std::any_of(present.begin(), present.end(), fits))
        return {Status::WrongSecret,
                (secret.kind() == ProtectorKind::ExternalKey ? aboutKeyFile(secret, present) : "") +
                    names};
    if (!present.empty() && std::none_of(present.begin(), present.end(), supported))
        return {Status::UnsupportedProtector, names};
    return {Status::NoProtectorOfKind, names};
}

Result<UnlockedKey> Unlocker::unlock(const Secret &secret)
{
    const Secret clearKey = Secret::none();
    for (const Secret *tried : {&clearKey, &secret}) {
        for (const MetadataBlock &copy : _copies) {
            const std::optional<KeyMaterial> masterKey = findMasterKey(copy, *tried);
            if (masterKey)
                return takeSectorKey(masterKey->view(), copy);
        }
    }
    if (isCancelled(_cancel))
        return Error{Status::Cancelled, ""};
    return refusal(secret);
}

}  // namespace vx::bitlocker
