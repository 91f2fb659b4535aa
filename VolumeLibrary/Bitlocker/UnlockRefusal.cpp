#include "UnlockRefusal.h"

#include <algorithm>

namespace vx::bitlocker {
namespace {

using Protectors = std::vector<Protector>;

// "the volume opens with ..." or "the volume also opens with ..."
constexpr char kOpensWith[] = "the volume opens with ";
constexpr char kAlsoOpensWith[] = "the volume also opens with ";

template <typename Condition>
Protectors Filtered(const Protectors &all, Condition condition)
{
    Protectors some;
    std::copy_if(all.begin(), all.end(), std::back_inserter(some), condition);
    return some;
}

// "1A2B3C4D-....BEK", as Windows names the file of a startup key.
std::string KeyFileName(const Guid &protector)
{
    return protector.Capitals() + ".BEK";
}

// The files of the startup keys, each once: "1A2B....BEK or 5E6F....BEK".
std::string KeyFileNames(const Protectors &startupKeys)
{
    std::vector<std::string> names;
    for (const Protector &protector : startupKeys) {
        const std::string name = KeyFileName(protector.identifier);
        if (names.size() < kMostNamed && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    std::string text;
    for (const std::string &name : names)
        text += (text.empty() ? "" : " or ") + name;
    return text;
}

// "1 recovery password", "3 recovery passwords"
std::string CountText(size_t count, const std::string &one)
{
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

// "12 recovery passwords and 1 startup key"
std::string ContentsText(const KeyList &keys)
{
    const size_t passwords = keys.CountOf(ProtectorKind::kRecoveryPassword);
    const size_t startupKeys = keys.CountOf(ProtectorKind::kExternalKey);
    const std::string names[] = {CountText(passwords, "recovery password"),
                                 CountText(startupKeys, "startup key")};
    if (passwords == 0 || startupKeys == 0)
        return names[passwords == 0 ? 1 : 0];
    return names[0] + " and " + names[1];
}

class Refusal {
public:
    Refusal(const std::vector<MetadataBlock> &copies, const Secret &secret, size_t leftOut)
        : _secret(secret), _leftOut(leftOut)
    {
        for (const MetadataBlock &copy : copies)
            _present.insert(_present.end(), copy.protectors.begin(), copy.protectors.end());
        _tried = Filtered(_present, [&](const Protector &one) { return IsTried(one.kind); });
    }

    Error Reason() const
    {
        if (_secret.GivenForm() == Secret::Form::kMasterKey)
            return {Status::kWrongSecret,
                    "the master key is another one" + AlsoOpens(kOpensWith) + Unusable()};
        const std::string names = "the volume has: " + ProtectorList(_present);
        if (!_tried.empty() && IsClearKey())
            return {Status::kWrongSecret, names};
        if (!_tried.empty())
            return {Status::kWrongSecret,
                    Tried() + AlsoOpens(kAlsoOpensWith) + Unusable() + LeftOut() + Problems()};
        const auto isSupported = [](const Protector &one) { return IsSupported(one.kind); };
        if (!_present.empty() && std::none_of(_present.begin(), _present.end(), isSupported))
            return {Status::kUnsupportedProtector, names};
        return {Status::kNoProtectorOfKind, InFile() + names};
    }

private:
    bool IsClearKey() const { return _secret.GivenForm() == Secret::Form::kNone; }

    bool IsFileOfKeys() const
    {
        return _secret.GivenForm() == Secret::Form::kRecoveryFile ||
               _secret.GivenForm() == Secret::Form::kKeyRing;
    }

    const char *FileName() const
    {
        return _secret.GivenForm() == Secret::Form::kKeyRing ? "the key ring" : "the file";
    }

    bool IsTried(ProtectorKind kind) const
    {
        return IsClearKey() ? kind == ProtectorKind::kClearKey : _secret.Keys().CountOf(kind) > 0;
    }

    std::string Tried() const
    {
        const std::string list = ProtectorList(_tried);
        const KeyList &keys = _secret.Keys();
        switch (_secret.GivenForm()) {
        case Secret::Form::kStartupKey:
            return AboutStartupKey() + "it was tried on " + list;
        case Secret::Form::kRecoveryFile:
        case Secret::Form::kKeyRing:
            if (keys.Size() == 1)
                return AboutOnlyKey() + "it was tried on " + list;
            return "none of the " + ContentsText(keys) + " in " + FileName() + " opens " + list;
        default:
            break;
        }
        return "it was tried on " + list;
    }

    // Which volume the startup key belongs to.
    std::string AboutStartupKey() const
    {
        const KeyList::Label &label = _secret.Keys().At(0);
        const Protector *meant = Named(label);
        const std::string given = KeyFileName(label.identifiers.front());
        if (meant == nullptr)
            return "the key file is " + given + ", but this volume needs " + KeyFileNames(_tried) +
                   "; ";
        if (meant->kind != ProtectorKind::kExternalKey)
            return "the key file is the one for " + ProtectorKindName(meant->kind) + " together; ";
        return "the key file is the one of this volume, " + given +
               ", but the key in it is another one; ";
    }

    // The only key of a file or ring.
    std::string AboutOnlyKey() const
    {
        const KeyList::Label &label = _secret.Keys().At(0);
        const std::string what = ProtectorKindName(label.kind);
        if (label.identifiers.empty())
            return "the " + what + " in " + FileName() + " is another one; ";
        const std::string keyId = label.identifiers.front().KeyId();
        if (Named(label) == nullptr)
            return "the " + what + " in " + FileName() + " is for Key ID " + keyId +
                   ", which this volume does not have; ";
        return "the " + what + " in " + FileName() +
               " is said to be the one of this volume, Key ID " + Named(label)->identifier.KeyId() +
               ", but is another one; ";
    }

    const Protector *Named(const KeyList::Label &label) const
    {
        const auto named =
            std::find_if(_present.begin(), _present.end(),
                         [&](const Protector &one) { return label.Names(one.identifier); });
        return named == _present.end() ? nullptr : &*named;
    }

    std::string AlsoOpens(const char *introduction) const
    {
        const Protectors others = Filtered(_present, [&](const Protector &one) {
            return IsSupported(one.kind) && one.kind != ProtectorKind::kClearKey &&
                   !IsTried(one.kind);
        });
        return others.empty() ? "" : std::string("; ") + introduction + ProtectorList(others);
    }

    std::string Unusable() const
    {
        const Protectors unusable =
            Filtered(_present, [](const Protector &one) { return !IsSupported(one.kind); });
        return unusable.empty() ? ""
                                : "; the volume also has " + ProtectorList(unusable) +
                                      ", which cannot be used here";
    }

    std::string LeftOut() const
    {
        if (_leftOut == 0)
            return "";
        return "; " + std::to_string(_leftOut) +
               " of them are for other Key IDs and were not tried: give one with the kind "
               "\"recovery\" to try it";
    }

    std::string InFile() const
    {
        return IsFileOfKeys()
                   ? std::string(FileName()) + " has " + ContentsText(_secret.Keys()) + "; "
                   : "";
    }

    std::string Problems() const
    {
        return _secret.Problems().empty() ? "" : "; " + _secret.Problems();
    }

    const Secret &_secret;
    const size_t _leftOut;
    Protectors _present;
    Protectors _tried;
};

}  // namespace

Error UnlockRefusal(const std::vector<MetadataBlock> &copies, const Secret &secret, size_t leftOut)
{
    return Refusal(copies, secret, leftOut).Reason();
}

}  // namespace vx::bitlocker
