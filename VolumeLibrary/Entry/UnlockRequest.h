// How a caller wants a volume unlocked, and the secret that this gives.
#pragma once

#include "CancelFlag.h"
#include "Error.h"
#include "UnlockKind.h"

#include <vector>

namespace vx {

struct Guid;
namespace bitlocker {
class Secret;
}

struct UnlockRequest {
    UnlockKind kind = UnlockKind::kNone;
    const char *secret = "";             // UTF-8; ignored for kNone
    const CancelFlag *cancel = nullptr;  // may be null
};

// Reads the file that the secret names, if its kind is one in a file. protectors: of the volume;
// their keys count first if there are more than are read. Errors: as Secret.h says.
Result<bitlocker::Secret> SecretOf(const UnlockRequest &unlocking,
                                   const std::vector<Guid> &protectors);

}  // namespace vx
