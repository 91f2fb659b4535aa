#include "CipherContext.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kShortKey = 16;

const EVP_CIPHER *CipherFor(CipherContext::Mode mode, size_t keySize)
{
    const bool isShort = keySize == kShortKey;
    if (mode == CipherContext::Mode::kCbcDecrypt)
        return isShort ? EVP_aes_128_cbc() : EVP_aes_256_cbc();
    return isShort ? EVP_aes_128_ecb() : EVP_aes_256_ecb();
}

}  // namespace

CipherContext::CipherContext(Mode mode, ByteView key) : _context(EVP_CIPHER_CTX_new())
{
    const int encrypt = mode == Mode::kEcbEncrypt ? 1 : 0;
    const bool sizeFits = key.size == kShortKey || key.size == 2 * kShortKey;
    if (_context == nullptr || !sizeFits ||
        EVP_CipherInit_ex(_context.get(), CipherFor(mode, key.size), nullptr, key.data, nullptr,
                          encrypt) != 1 ||
        EVP_CIPHER_CTX_set_padding(_context.get(), 0) != 1)
        _context.reset();
}

CipherContext CipherContext::Clone() const
{
    Handle copy(EVP_CIPHER_CTX_new());
    if (!Good() || copy == nullptr || EVP_CIPHER_CTX_copy(copy.get(), _context.get()) != 1)
        copy.reset();
    return CipherContext(std::move(copy));
}

bool CipherContext::Run(const uint8_t *in, uint8_t *out, size_t length)
{
    int done = 0;
    return Good() &&
           EVP_CipherUpdate(_context.get(), out, &done, in, static_cast<int>(length)) == 1 &&
           static_cast<size_t>(done) == length;
}

bool CipherContext::SetInitialVector(const uint8_t *vector)
{
    return Good() && EVP_CipherInit_ex(_context.get(), nullptr, nullptr, nullptr, vector, -1) == 1;
}

}  // namespace vx::bitlocker
