#include "CbcCipher.h"

#include "SectorNumbers.h"

namespace vx::bitlocker {

CbcCipher::CbcCipher(ByteView key, uint32_t sectorSize)
    : CbcCipher(CipherContext(CipherContext::Mode::kEcbEncrypt, key),
                CipherContext(CipherContext::Mode::kCbcDecrypt, key), sectorSize)
{
}

CbcCipher::CbcCipher(CipherContext vectors, CipherContext sectors, uint32_t sectorSize)
    : _vectors(std::move(vectors)),
      _sectors(std::move(sectors)),
      _sectorSize(sectorSize),
      _initial(kLongestRun / sectorSize * kAesBlock)
{
}

std::unique_ptr<CbcCipher> CbcCipher::CloneCbc() const
{
    std::unique_ptr<CbcCipher> copy(new CbcCipher(_vectors.Clone(), _sectors.Clone(), _sectorSize));
    return copy->Good() ? std::move(copy) : nullptr;
}

std::unique_ptr<SectorCipher> CbcCipher::Clone() const
{
    return CloneCbc();
}

// The run is decrypted as if it were one message, which spares a set-up for each sector. Only the
// first block of a sector is therefore wrong: it got the last block of the sector before it where
// its own initial vector belongs.
bool CbcCipher::Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length)
{
    static constexpr uint8_t kZeros[kAesBlock] = {};
    const size_t count = length / _sectorSize;
    PutSectorNumbers(_initial.data(), count, kAesBlock, offset, _sectorSize);
    if (!_vectors.Run(_initial.data(), _initial.data(), count * kAesBlock) ||
        !_sectors.SetInitialVector(kZeros) || !_sectors.Run(in, out, length))
        return false;
    for (size_t k = 0; k < count; ++k) {
        uint8_t *first = out + k * _sectorSize;
        XorBlock(first, _initial.data() + k * kAesBlock);
        if (k > 0)
            XorBlock(first, in + k * _sectorSize - kAesBlock);
    }
    return true;
}

}  // namespace vx::bitlocker
