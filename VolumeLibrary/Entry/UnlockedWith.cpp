#include "UnlockedWith.h"

#include "TextField.h"

namespace vx {

using bitlocker::UnlockedBy;
using bitlocker::VolumeFacts;

UnlockedWith::UnlockedWith(const bitlocker::UnlockedVolume &opened)
    : _recoveryPasswords(opened.recoveryPasswords), _masterKey(opened.masterKey)
{
    const VolumeFacts &facts = opened.facts;
    PutText(MethodName(facts.method), _report.method);
    _report.isKeyProven = facts.isKeyProven ? 1 : 0;
    switch (facts.unlockedBy) {
    case UnlockedBy::kNothing:
        break;
    case UnlockedBy::kProtector:
        PutText(ProtectorKindToken(facts.protectorKind), _report.kind);
        PutText(facts.protectorIdentifier.Capitals(), _report.identifier);
        break;
    case UnlockedBy::kMasterKey:
        PutText("vmk", _report.kind);
        break;
    case UnlockedBy::kSectorKey:
        PutText("fvek", _report.kind);
        break;
    }
}

bool UnlockedWith::VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password,
                                          void *context) const
{
    return _recoveryPasswords != nullptr && _recoveryPasswords->Visit(password, context);
}

bool UnlockedWith::VisitMasterKey(VolumeMasterKeyFunction key, void *context) const
{
    if (_masterKey == nullptr)
        return false;
    key(context, _masterKey->Data(), _masterKey->Size());
    return true;
}

}  // namespace vx
