// How an encrypted volume was unlocked, its recovery passwords and its master key, as
// VolumeReport.h reports them.
// Threads: any number at a time.
#pragma once

#include "VolumeReport.h"

namespace vx {

class VolumeUnlocking {
public:
    virtual ~VolumeUnlocking() = default;

    virtual void Describe(VolumeUnlockingReport *report) const = 0;
    // False if they were not kept, cannot be known, or one of them is damaged.
    virtual bool VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password,
                                        void *context) const = 0;
    // False if it was not kept, or is not known.
    virtual bool VisitMasterKey(VolumeMasterKeyFunction key, void *context) const = 0;
};

}  // namespace vx
