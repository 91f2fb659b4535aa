#include "SectorCipher.h"

#include "CbcCipher.h"
#include "ElephantCipher.h"
#include "XtsCipher.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kDiffuserTweakKeyAt = 32;

template <typename Cipher>
std::unique_ptr<SectorCipher> ifGood(std::unique_ptr<Cipher> cipher)
{
    return cipher->good() ? std::move(cipher) : nullptr;
}

}  // namespace

std::unique_ptr<SectorCipher> makeSectorCipher(Method method, ByteView key, uint32_t sectorSize)
{
    if (key.size == 0 || key.size != sectorKeySize(method))
        return nullptr;
    switch (method) {
    case Method::Aes128Cbc:
    case Method::Aes256Cbc:
        return ifGood(std::make_unique<CbcCipher>(key, sectorSize));
    case Method::Aes128Elephant:
    case Method::Aes256Elephant: {
        const size_t size = method == Method::Aes128Elephant ? 16 : 32;
        const ByteView tweakKey = key.from(kDiffuserTweakKeyAt).first(size);
        return ifGood(std::make_unique<ElephantCipher>(key.first(size), tweakKey, sectorSize));
    }
    case Method::Aes128Xts:
    case Method::Aes256Xts:
        return ifGood(std::make_unique<XtsCipher>(key.first(key.size / 2), key.from(key.size / 2),
                                                  sectorSize));
    case Method::None:
        break;
    }
    return nullptr;
}

}  // namespace vx::bitlocker
