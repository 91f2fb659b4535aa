#include "XtsCipher.h"

#include "SectorNumbers.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

// A piece, its tweaks and its result stay in the fastest cache together.
constexpr size_t kPiece = 8 * 1024;
// Away from the buffers of the callers, see PlacedBuffer.
constexpr size_t kTweaksPlace = 2048;

}  // namespace

XtsCipher::XtsCipher(ByteView dataKey, ByteView tweakKey, uint32_t sectorSize)
    : XtsCipher(CipherContext(CipherContext::Mode::EcbEncrypt, tweakKey),
                CipherContext(CipherContext::Mode::EcbDecrypt, dataKey), sectorSize)
{
}

XtsCipher::XtsCipher(CipherContext tweak, CipherContext data, uint32_t sectorSize)
    : _tweak(std::move(tweak)),
      _data(std::move(data)),
      _sectorSize(sectorSize),
      _passes(bestXtsTweaks()),
      _sectorTweaks(kLongestRun / sectorSize * kAesBlock),
      _tweaks(kPiece, kTweaksPlace)
{
}

std::unique_ptr<SectorCipher> XtsCipher::clone() const
{
    std::unique_ptr<XtsCipher> copy(new XtsCipher(_tweak.clone(), _data.clone(), _sectorSize));
    return copy->good() ? std::move(copy) : nullptr;
}

bool XtsCipher::decryptPiece(const uint8_t *sectorTweaks, const uint8_t *in, uint8_t *out,
                             size_t length)
{
    _passes.apply(sectorTweaks, _sectorSize, in, _tweaks.data(), out, length);
    if (!_data.run(out, out, length))
        return false;
    _passes.remove(_tweaks.data(), out, length);
    return true;
}

bool XtsCipher::decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length)
{
    const size_t count = length / _sectorSize;
    putSectorNumbers(_sectorTweaks.data(), count, kAesBlock, offset / _sectorSize, 1);
    if (!_tweak.run(_sectorTweaks.data(), _sectorTweaks.data(), count * kAesBlock))
        return false;
    for (size_t at = 0; at < length; at += kPiece) {
        const uint8_t *tweaks = _sectorTweaks.data() + at / _sectorSize * kAesBlock;
        if (!decryptPiece(tweaks, in + at, out + at, std::min(kPiece, length - at)))
            return false;
    }
    return true;
}

}  // namespace vx::bitlocker
