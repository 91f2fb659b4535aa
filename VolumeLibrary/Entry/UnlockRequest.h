// How a caller wants a volume unlocked, and the secret that this gives.
#pragma once

#include "CancelFlag.h"
#include "Error.h"
#include "UnlockKind.h"

namespace vx {

namespace bitlocker {
class Secret;
}

struct UnlockRequest {
    UnlockKind kind = UnlockKind::kNone;
    const char *secret = "";             // UTF-8; ignored for kNone
    const CancelFlag *cancel = nullptr;  // may be null
};

// Reads the file that the secret names, if its kind is one in a file. Errors: as
// Secret.h says.
Result<bitlocker::Secret> SecretOf(const UnlockRequest &unlocking);

}  // namespace vx
