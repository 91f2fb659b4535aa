#include "UnlockRequest.h"

#include "Secret.h"

namespace vx {

using bitlocker::Secret;

Result<Secret> SecretOf(const UnlockRequest &unlocking, const std::vector<Guid> &protectors)
{
    switch (unlocking.kind) {
    case UnlockKind::kPassword:
        return Secret::FromPassword(unlocking.secret);
    case UnlockKind::kRecovery:
        return Secret::FromRecoveryPassword(unlocking.secret);
    case UnlockKind::kStartupKey:
        return Secret::FromStartupKeyFile(unlocking.secret);
    case UnlockKind::kRecoveryFile:
        return Secret::FromRecoveryFile(unlocking.secret);
    case UnlockKind::kKeyRing:
        return Secret::FromKeyRing(unlocking.secret, unlocking.cancel, protectors);
    case UnlockKind::kMasterKey:
        return Secret::FromMasterKey(unlocking.secret);
    case UnlockKind::kSectorKey:
        return Secret::FromSectorKey(unlocking.secret);
    case UnlockKind::kNone:
        break;
    }
    return Secret::None();
}

}  // namespace vx
