#include "UnlockKind.h"

#include "ChannelMessages.h"

namespace vx {

namespace {

struct NamedKind {
    std::string_view name;
    UnlockKind kind;
};

constexpr NamedKind kKinds[] = {
    {"none", UnlockKind::kNone},
    {"password", UnlockKind::kPassword},
    {"recovery", UnlockKind::kRecovery},
    {"startup-key", UnlockKind::kStartupKey},
    {"recovery-file", UnlockKind::kRecoveryFile},
    {"key-ring", UnlockKind::kKeyRing},
    {"vmk", UnlockKind::kMasterKey},
    {"fvek", UnlockKind::kSectorKey},
};

}  // namespace

bool IsHostChannel(std::string_view text)
{
    return text == kChannelUnlockKind;
}

std::optional<UnlockKind> ParseUnlockKind(std::string_view text)
{
    for (const NamedKind &named : kKinds)
        if (named.name == text)
            return named.kind;
    return std::nullopt;
}

}  // namespace vx
