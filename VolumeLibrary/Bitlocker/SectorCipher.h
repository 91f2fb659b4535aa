// Decrypts runs of sectors, each of which is a message of its own.
//
// Setting up a cipher for every sector would cost more than the decryption, so the initial
// vectors and tweaks of a whole run are computed at once. One thread at a time; a second thread
// works with a clone. The keys are in libcrypto's contexts, which wipe them when they go.
#pragma once

#include "ByteView.h"
#include "Method.h"

#include <memory>

namespace vx::bitlocker {

class SectorCipher {
public:
    // The longest run of one call, in bytes.
    static constexpr size_t kLongestRun = 256 * 1024;

    virtual ~SectorCipher() = default;
    // Null when there is no memory. Safe while no thread decrypts with this object.
    virtual std::unique_ptr<SectorCipher> Clone() const = 0;
    // offset: where the first sector is stored in the volume. length: a multiple of the sector
    // size, kLongestRun at most. in and out do not overlap. False: libcrypto refused.
    virtual bool Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length) = 0;
};

// key: the stored sector key, SectorKeySize(method) bytes. sectorSize: 512 to 4096.
// Null for an unknown method, a key of another length, or when libcrypto refused.
std::unique_ptr<SectorCipher> MakeSectorCipher(Method method, ByteView key, uint32_t sectorSize);

}  // namespace vx::bitlocker
