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
    : XtsCipher(CipherContext(CipherContext::Mode::kEcbEncrypt, tweakKey),
                CipherContext(CipherContext::Mode::kEcbDecrypt, dataKey), sectorSize)
{
}

XtsCipher::XtsCipher(CipherContext tweak, CipherContext data, uint32_t sectorSize)
    : _tweak(std::move(tweak)),
      _data(std::move(data)),
      _sectorSize(sectorSize),
      _passes(BestXtsTweaks()),
      _sectorTweaks(kLongestRun / sectorSize * kAesBlock),
      _tweaks(kPiece, kTweaksPlace)
{
}

std::unique_ptr<SectorCipher> XtsCipher::Clone() const
{
    std::unique_ptr<XtsCipher> copy(new XtsCipher(_tweak.Clone(), _data.Clone(), _sectorSize));
    return copy->Good() ? std::move(copy) : nullptr;
}

bool XtsCipher::DecryptPiece(const uint8_t *sectorTweaks, const uint8_t *in, uint8_t *out,
                             size_t length)
{
    _passes.apply(sectorTweaks, _sectorSize, in, _tweaks.Data(), out, length);
    if (!_data.Run(out, out, length))
        return false;
    _passes.remove(_tweaks.Data(), out, length);
    return true;
}

bool XtsCipher::Decrypt(uint64_t offset, const uint8_t *in, uint8_t *out, size_t length)
{
    const size_t count = length / _sectorSize;
    PutSectorNumbers(_sectorTweaks.data(), count, kAesBlock, offset / _sectorSize, 1);
    if (!_tweak.Run(_sectorTweaks.data(), _sectorTweaks.data(), count * kAesBlock))
        return false;
    for (size_t at = 0; at < length; at += kPiece) {
        const uint8_t *tweaks = _sectorTweaks.data() + at / _sectorSize * kAesBlock;
        if (!DecryptPiece(tweaks, in + at, out + at, std::min(kPiece, length - at)))
            return false;
    }
    return true;
}

}  // namespace vx::bitlocker
