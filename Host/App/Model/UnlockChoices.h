// Which kinds of secret a volume can be unlocked with, in the order in which people have them.
//
// Threads: any. Texts are UTF-8.
#pragma once

#include "VolumeFacts.h"

#include <string>
#include <vector>

namespace vx {

enum class SecretKind { kNone, kPassword, kRecoveryKey, kStartupKey, kRecoveryFile };

struct UnlockChoice {
    SecretKind kind = SecretKind::kNone;
    // Of the protectors that take it, the first eight digits, as Windows shows and prints them.
    std::vector<std::string> identifiers;
};

// The kind of unlock as the library's entry names it: "startup-key".
const char *UnlockKindOf(SecretKind kind);
// The secret is the path of a file.
bool IsFileKind(SecretKind kind);

// Nothing is recognised at the beginning. An encrypted volume whose first sector was lost looks so,
// and opens with a secret all the same.
bool MayBeLost(const VolumeFacts &volume);

// The best first; empty if nothing here opens the volume. All kinds if its metadata does not say.
std::vector<UnlockChoice> UnlockChoices(const VolumeFacts &volume);

}  // namespace vx
