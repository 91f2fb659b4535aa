#include "UnlockChoices.h"

#include <algorithm>

namespace vx {
namespace {

constexpr SecretKind kSecretKinds[] = {SecretKind::kPassword, SecretKind::kRecoveryKey,
                                       SecretKind::kStartupKey, SecretKind::kRecoveryFile};
constexpr size_t kShownDigits = 8;

bool Takes(const ProtectorFacts &protector, SecretKind kind)
{
    const auto &kinds = protector.unlockKinds;
    return std::find(kinds.begin(), kinds.end(), UnlockKindOf(kind)) != kinds.end();
}

// Without a protector that takes it: an empty list.
std::vector<UnlockChoice> ChoiceOfKind(SecretKind kind, const VolumeFacts &volume)
{
    UnlockChoice choice = {kind, {}};
    bool isTaken = false;
    for (const ProtectorFacts &protector : volume.protectors) {
        if (!Takes(protector, kind))
            continue;
        isTaken = true;
        choice.identifiers.push_back(protector.identifier.substr(0, kShownDigits));
    }
    if (isTaken)
        return {choice};
    return {};
}

// Without metadata that says what opens it.
bool IsUnknown(const VolumeFacts &volume)
{
    return volume.protectors.empty() && !volume.hasClearKey;
}

bool Opens(const std::string &kind)
{
    for (const char *opened : {"ntfs", "fat", "exfat", "folder"}) {
        if (kind == opened)
            return true;
    }
    return false;
}

}  // namespace

const char *UnlockKindOf(SecretKind kind)
{
    switch (kind) {
    case SecretKind::kPassword:
        return "password";
    case SecretKind::kRecoveryKey:
        return "recovery";
    case SecretKind::kStartupKey:
        return "startup-key";
    case SecretKind::kRecoveryFile:
        return "recovery-file";
    case SecretKind::kNone:
        break;
    }
    return "none";
}

bool IsFileKind(SecretKind kind)
{
    return kind == SecretKind::kStartupKey || kind == SecretKind::kRecoveryFile;
}

bool MayBeLost(const VolumeFacts &volume)
{
    const bool isUnknown =
        volume.kind == "unreadable" || (volume.kind == "other" && volume.nextStep.empty());
    return isUnknown && !volume.address.empty();
}

std::vector<UnlockChoice> UnlockChoices(const VolumeFacts &volume)
{
    if (volume.kind != "encrypted" && !MayBeLost(volume)) {
        if (Opens(volume.kind))
            return {{SecretKind::kNone, {}}};
        return {};
    }
    std::vector<UnlockChoice> choices;
    if (volume.hasClearKey)
        choices.push_back({SecretKind::kNone, {}});
    for (const SecretKind kind : kSecretKinds) {
        const std::vector<UnlockChoice> choice =
            IsUnknown(volume) ? std::vector<UnlockChoice>{{kind, {}}} : ChoiceOfKind(kind, volume);
        choices.insert(choices.end(), choice.begin(), choice.end());
    }
    return choices;
}

}  // namespace vx
