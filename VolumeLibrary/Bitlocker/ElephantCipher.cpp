#include "ElephantCipher.h"

#include "Diffusers.h"
#include "SectorNumbers.h"

#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr size_t kSectorKey = 2 * kAesBlock;
constexpr uint8_t kSecondHalf = 0x80;
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "words are taken as the disk orders them");

}  // namespace

ElephantCipher::ElephantCipher(ByteView key, ByteView tweakKey, uint32_t sectorSize)
    : ElephantCipher(std::make_unique<CbcCipher>(key, sectorSize),
                     CipherContext(CipherContext::Mode::kEcbEncrypt, tweakKey), sectorSize)
{
}

ElephantCipher::ElephantCipher(std::unique_ptr<CbcCipher> cbc, CipherContext tweak,
                               uint32_t sectorSize)
    : _cbc(std::move(cbc)),
      _tweak(std::move(tweak)),
      _sectorSize(sectorSize),
      _sectorKeys(kLongestRun / sectorSize * kSectorKey),
      _words(sectorSize / sizeof(uint32_t))
{
}

std::unique_ptr<SectorCipher> ElephantCipher::Clone() const
{
    std::unique_ptr<ElephantCipher> copy(
        new ElephantCipher(_cbc->CloneCbc(), _tweak.Clone(), _sectorSize));
    return copy->Good() ? std::move(copy) : nullptr;
}

void ElephantCipher::FinishSector(uint8_t *sector, const uint8_t *sectorKey)
{
    std::memcpy(_words.data(), sector, _sectorSize);
    UndoDiffuserB(_words.data(), _words.size());
    UndoDiffuserA(_words.data(), _words.size());
    std::memcpy(sector, _words.data(), _sectorSize);
    for (size_t at = 0; at < _sectorSize; at += kSectorKey) {
        XorBlock(sector + at, sectorKey);
        XorBlock(sector + at + kAesBlock, sectorKey + kAesBlock);
    }
}

bool ElephantCipher::Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length)
{
    const size_t count = length / _sectorSize;
    uint8_t *keys = _sectorKeys.data();
    PutSectorNumbers(keys, count, kSectorKey, offset, _sectorSize);
    PutSectorNumbers(keys + kAesBlock, count, kSectorKey, offset, _sectorSize, kSecondHalf);
    if (!_tweak.Run(keys, keys, count * kSectorKey) || !_cbc->Decrypt(offset, in, out, length))
        return false;
    for (size_t k = 0; k < count; ++k)
        FinishSector(out + k * _sectorSize, keys + k * kSectorKey);
    return true;
}

}  // namespace vx::bitlocker
