// AES-XTS with the number of the sector as the tweak.
//
// Done as ECB over blocks that are combined with a tweak each: libcrypto's own XTS takes one
// sector for each call and set-up.
#pragma once

#include "CipherContext.h"
#include "PlacedBuffer.h"
#include "SectorCipher.h"
#include "XtsTweaks.h"

#include <vector>

namespace vx::bitlocker {

class XtsCipher : public SectorCipher {
public:
    // dataKey, tweakKey: both of 16 or both of 32 bytes.
    XtsCipher(ByteView dataKey, ByteView tweakKey, uint32_t sectorSize);

    bool Good() const { return _tweak.Good() && _data.Good(); }
    std::unique_ptr<SectorCipher> Clone() const override;
    bool Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length) override;

private:
    XtsCipher(CipherContext tweak, CipherContext data, uint32_t sectorSize);
    bool DecryptPiece(const uint8_t *sectorTweaks, const uint8_t *in, uint8_t *out, size_t length);

    CipherContext _tweak;
    CipherContext _data;
    const uint32_t _sectorSize;
    const XtsTweaks &_passes;
    std::vector<uint8_t> _sectorTweaks;  // the first tweak of each sector of a run
    PlacedBuffer _tweaks;                // the tweaks of a piece
};

}  // namespace vx::bitlocker
