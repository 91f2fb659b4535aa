#include "KeyWrapper.h"

#include "ByteWriter.h"

#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

constexpr int kMacSize = 16;

}  // namespace

std::vector<uint8_t> WrapKey(ByteView wrappingKey, ByteView nonce, uint16_t keyKind, ByteView key,
                             uint16_t entryType)
{
    ByteWriter plain;
    plain.U16(static_cast<uint16_t>(12 + key.size)).U16(entryType).U16(1).U16(0);
    plain.U16(keyKind).U16(0).Bytes(key);

    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                            EVP_CIPHER_CTX_free);
    EVP_CIPHER_CTX *ctx = context.get();
    std::vector<uint8_t> ciphertext(plain.Size());
    std::vector<uint8_t> mac(kMacSize);
    int done = 0;
    const bool good =
        EVP_EncryptInit_ex(ctx, EVP_aes_256_ccm(), nullptr, nullptr, nullptr) == 1 &&
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_AEAD_SET_IVLEN, static_cast<int>(nonce.size), nullptr) ==
            1 &&
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_AEAD_SET_TAG, kMacSize, nullptr) == 1 &&
        EVP_EncryptInit_ex(ctx, nullptr, nullptr, wrappingKey.data, nonce.data) == 1 &&
        EVP_EncryptUpdate(ctx, ciphertext.data(), &done, plain.Result().data(),
                          static_cast<int>(plain.Size())) == 1 &&
        EVP_EncryptFinal_ex(ctx, ciphertext.data() + done, &done) == 1 &&
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_AEAD_GET_TAG, kMacSize, mac.data()) == 1;
    if (!good)
        throw std::runtime_error("AES-CCM refused");
    return ByteWriter().Bytes(nonce).Bytes(mac).Bytes(ciphertext).Result();
}

}  // namespace vx::bitlocker::maker
