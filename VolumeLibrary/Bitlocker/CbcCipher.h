// AES-CBC with an initial vector per sector, made from the sector's place.
#pragma once

#include "CipherContext.h"
#include "SectorCipher.h"

#include <vector>

namespace vx::bitlocker {

class CbcCipher : public SectorCipher {
public:
    CbcCipher(ByteView key, uint32_t sectorSize);

    bool Good() const { return _vectors.Good() && _sectors.Good(); }
    std::unique_ptr<SectorCipher> Clone() const override;
    bool Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length) override;
    // The same with its own type.
    std::unique_ptr<CbcCipher> CloneCbc() const;

private:
    CbcCipher(CipherContext vectors, CipherContext sectors, uint32_t sectorSize);

    CipherContext _vectors;  // makes the initial vectors
    CipherContext _sectors;
    const uint32_t _sectorSize;
    std::vector<uint8_t> _initial;  // the vectors of one run
};

}  // namespace vx::bitlocker
