// AES-CBC with the Elephant diffuser: CBC, then two diffusers, then a key for each sector.
#pragma once

#include "CbcCipher.h"

namespace vx::bitlocker {

class ElephantCipher : public SectorCipher {
public:
    // key, tweakKey: both of 16 or both of 32 bytes.
    ElephantCipher(ByteView key, ByteView tweakKey, uint32_t sectorSize);

    bool Good() const { return _cbc != nullptr && _cbc->Good() && _tweak.Good(); }
    std::unique_ptr<SectorCipher> Clone() const override;
    bool Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length) override;

private:
    ElephantCipher(std::unique_ptr<CbcCipher> cbc, CipherContext tweak, uint32_t sectorSize);
    void FinishSector(uint8_t *sector, const uint8_t *sectorKey);

    std::unique_ptr<CbcCipher> _cbc;
    CipherContext _tweak;  // makes the sector keys
    const uint32_t _sectorSize;
    std::vector<uint8_t> _sectorKeys;  // of one run, 32 bytes each
    std::vector<uint32_t> _words;      // one sector
};

}  // namespace vx::bitlocker
