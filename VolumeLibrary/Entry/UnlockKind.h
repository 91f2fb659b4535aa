// How a volume is unlocked: the second text of the library's entry.
#pragma once

#include <optional>
#include <string_view>

namespace vx {

enum class UnlockKind {
    kNone,          // "none"
    kPassword,      // "password"
    kRecovery,      // "recovery": the recovery password of 48 digits
    kStartupKey,    // "startup-key": the path of the key file
    kRecoveryFile,  // "recovery-file": the path of a text with recovery passwords
    kKeyRing,       // "key-ring": the path of a folder or file of many keys
    kMasterKey,     // "vmk": hexadecimal digits or the path of a file
    kSectorKey,     // "fvek": as before
};

// Whether the text stands for a channel, over which a host says how (HostOpening.h).
bool IsHostChannel(std::string_view text);

// Nothing for any other text.
std::optional<UnlockKind> ParseUnlockKind(std::string_view text);

}  // namespace vx
