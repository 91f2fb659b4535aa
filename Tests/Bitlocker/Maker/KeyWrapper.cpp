#include "KeyWrapper.h"

#include "ByteWriter.h"

#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

constexpr int kMacSize = 16;

}  // namespace

std::vector<uint8_t> wrapKey(ByteView wrappingKey, ByteView nonce, uint16_t keyKind, ByteView key,
                             uint16_t entryType)
{
    ByteWriter plain;
    plain.u16(static_cast<uint16_t>(12 + key.size)).u16(entryType).u16(1).u16(0);
    plain.u16(keyKind).u16(0).bytes(key);

    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                            EVP_CIPHER_CTX_free);
    EVP_CIPHER_CTX *ctx = context.get();
    std::vector<uint8_t> ciphertext(plain.size());
    std::vector<uint8_t> mac(kMacSize);
    int done = 0;
    const bool good =
        EVP_EncryptInit_ex(ctx, EVP_aes_256_ccm(), nullptr, nullptr, nullptr) == 1 &&
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_AEAD_SET_IVLEN, static_cast<int>(nonce.size), nullptr) ==
            1 &&
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_AEAD_SET_TAG, kMacSize, nullptr) == 1 &&
        EVP_EncryptInit_ex(ctx, nullptr, nullptr, wrappingKey.data, nonce.data) == 1 &&
        EVP_EncryptUpdate(ctx, ciphertext.data(), &done, plain.result().data(),
                          static_cast<int>(plain.size())) == 1 &&
        EVP_EncryptFinal_ex(ctx, ciphertext.data() + done, &done) == 1 &&
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_AEAD_GET_TAG, kMacSize, mac.data()) == 1;
    if (!good)
        throw std::runtime_error("AES-CCM refused");
    return ByteWriter().bytes(nonce).bytes(mac).bytes(ciphertext).result();
}

}  // namespace vx::bitlocker::maker
