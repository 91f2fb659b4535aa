#include "SectorCipher.h"

#include "CbcCipher.h"
#include "ElephantCipher.h"
#include "XtsCipher.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kDiffuserTweakKeyAt = 32;

template <typename Cipher>
std::unique_ptr<SectorCipher> IfGood(std::unique_ptr<Cipher> cipher)
{
    return cipher->Good() ? std::move(cipher) : nullptr;
}

}  // namespace

std::unique_ptr<SectorCipher> MakeSectorCipher(Method method, ByteView key, uint32_t sectorSize)
{
    if (key.size == 0 || key.size != SectorKeySize(method))
        return nullptr;
    switch (method) {
    case Method::kAes128Cbc:
    case Method::kAes256Cbc:
        return IfGood(std::make_unique<CbcCipher>(key, sectorSize));
    case Method::kAes128Elephant:
    case Method::kAes256Elephant: {
        const size_t size = method == Method::kAes128Elephant ? 16 : 32;
        const ByteView tweakKey = key.From(kDiffuserTweakKeyAt).First(size);
        return IfGood(std::make_unique<ElephantCipher>(key.First(size), tweakKey, sectorSize));
    }
    case Method::kAes128Xts:
    case Method::kAes256Xts:
        return IfGood(std::make_unique<XtsCipher>(key.First(key.size / 2), key.From(key.size / 2),
                                                  sectorSize));
    case Method::kNone:
        break;
    }
    return nullptr;
}

}  // namespace vx::bitlocker
