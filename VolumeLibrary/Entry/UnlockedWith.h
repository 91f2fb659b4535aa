// How an encrypted volume was unlocked (VolumeReport.h). Threads: any number at a time.
#pragma once

#include "VolumeOpener.h"
#include "VolumeUnlocking.h"

namespace vx {

class UnlockedWith final : public VolumeUnlocking {
public:
    explicit UnlockedWith(const bitlocker::UnlockedVolume &opened);

    void Describe(VolumeUnlockingReport *report) const override { *report = _report; }
    bool VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password,
                                void *context) const override;
    bool VisitMasterKey(VolumeMasterKeyFunction key, void *context) const override;

private:
    VolumeUnlockingReport _report;
    const std::shared_ptr<const bitlocker::RecoveryPasswords> _recoveryPasswords;
    const std::shared_ptr<const bitlocker::KeyMaterial> _masterKey;
};

}  // namespace vx
