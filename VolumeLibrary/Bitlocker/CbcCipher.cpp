#include "CbcCipher.h"

#include "SectorNumbers.h"

namespace vx::bitlocker {

CbcCipher::CbcCipher(ByteView key, uint32_t sectorSize)
    : CbcCipher(CipherContext(CipherContext::Mode::EcbEncrypt, key),
                CipherContext(CipherContext::Mode::CbcDecrypt, key), sectorSize)
{
}

CbcCipher::CbcCipher(CipherContext vectors, CipherContext sectors, uint32_t sectorSize)
    : _vectors(std::move(vectors)),
      _sectors(std::move(sectors)),
      _sectorSize(sectorSize),
      _initial(kLongestRun / sectorSize * kAesBlock)
{
}

std::unique_ptr<CbcCipher> CbcCipher::cloneCbc() const
{
    std::unique_ptr<CbcCipher> copy(new CbcCipher(_vectors.clone(), _sectors.clone(), _sectorSize));
    return copy->good() ? std::move(copy) : nullptr;
}

std::unique_ptr<SectorCipher> CbcCipher::clone() const
{
    return cloneCbc();
}

// The run is decrypted as if it were one message, which spares a set-up for each sector. Only
// the first block of a sector comes out wrong by that: it got the last block of the sector
// before it where its own initial vector belongs.
bool CbcCipher::decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length)
{
    static constexpr uint8_t kZeros[kAesBlock] = {};
    const size_t count = length / _sectorSize;
    putSectorNumbers(_initial.data(), count, kAesBlock, offset, _sectorSize);
    if (!_vectors.run(_initial.data(), _initial.data(), count * kAesBlock) ||
        !_sectors.setInitialVector(kZeros) || !_sectors.run(in, out, length))
        return false;
    for (size_t k = 0; k < count; ++k) {
        uint8_t *first = out + k * _sectorSize;
        xorBlock(first, _initial.data() + k * kAesBlock);
        if (k > 0)
            xorBlock(first, in + k * _sectorSize - kAesBlock);
    }
    return true;
}

}  // namespace vx::bitlocker
