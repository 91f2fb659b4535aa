// The recovery passwords of a volume, which lie in its metadata under the master key.
//
// Their bytes are kept as KeyMaterial keeps keys. Threads: any number at a time.
#pragma once

#include "KeyMaterial.h"
#include "Protector.h"
#include "VolumeReport.h"

namespace vx::bitlocker {

class RecoveryPasswords {
public:
    // Of a volume with more of them, the others count as damaged.
    static constexpr size_t kMost = 256;

    RecoveryPasswords(const std::vector<Protector> &protectors, ByteView masterKey);

    // Each once, in stored order. The texts are wiped after each call. False if one is damaged.
    bool Visit(VolumeRecoveryPasswordFunction password, void *context) const;

private:
    void Take(const Protector &protector, ByteView masterKey);
    bool Has(const Guid &protector, ByteView key) const;
    ByteView KeyAt(size_t index) const;

    KeyMaterial _keys;              // one after the other
    std::vector<Guid> _protectors;  // whose they are
    bool _areAll = true;
};

}  // namespace vx::bitlocker
