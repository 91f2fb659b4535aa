// How a volume is unlocked: the second text of the library's entry.
#pragma once

#include <optional>
#include <string_view>

namespace vx {

enum class UnlockKind {
    kNone,        // "none"
    kPassword,    // "password"
    kRecovery,    // "recovery": the recovery password of 48 digits
    kStartupKey,  // "startup-key": the path of the key file
};

// Nothing for any other text.
std::optional<UnlockKind> ParseUnlockKind(std::string_view text);

}  // namespace vx
