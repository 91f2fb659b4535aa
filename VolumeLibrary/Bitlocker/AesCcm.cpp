#include "AesCcm.h"

#include <memory>
#include <openssl/evp.h>

namespace vx::bitlocker {

namespace {

constexpr size_t kKeySize = 32;

}  // namespace

std::optional<KeyMaterial> AesCcmUnwrap(ByteView key, const WrappedKey &wrapped)
{
    if (key.size != kKeySize || wrapped.ciphertext.empty())
        return std::nullopt;
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                            EVP_CIPHER_CTX_free);
    std::array<uint8_t, 16> mac = wrapped.mac;  // the call takes it writable
    KeyMaterial plain(wrapped.ciphertext.size());
    int done = 0;
    const bool good =
        context != nullptr &&
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_ccm(), nullptr, nullptr, nullptr) > 0 &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_IVLEN,
                            static_cast<int>(wrapped.nonce.size()), nullptr) > 0 &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(mac.size()),
                            mac.data()) > 0 &&
        EVP_DecryptInit_ex(context.get(), nullptr, nullptr, key.data, wrapped.nonce.data()) > 0 &&
        EVP_DecryptUpdate(context.get(), plain.Data(), &done, wrapped.ciphertext.data(),
                          static_cast<int>(wrapped.ciphertext.size())) > 0;
    if (!good)
        return std::nullopt;
    return plain;
}

}  // namespace vx::bitlocker
