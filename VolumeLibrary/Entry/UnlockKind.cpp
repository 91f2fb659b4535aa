#include "UnlockKind.h"

namespace vx {

std::optional<UnlockKind> ParseUnlockKind(std::string_view text)
{
    if (text == "none")
        return UnlockKind::kNone;
    if (text == "password")
        return UnlockKind::kPassword;
    if (text == "recovery")
        return UnlockKind::kRecovery;
    if (text == "startup-key")
        return UnlockKind::kStartupKey;
    return std::nullopt;
}

}  // namespace vx
