#include "SectorEncryptor.h"

#include <array>
#include <cstring>
#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

using Block = std::array<uint8_t, 16>;

Block LittleEndian(uint64_t value)
{
    Block block{};
    for (size_t i = 0; i < 8; ++i)
        block[i] = static_cast<uint8_t>(value >> (8 * i));
    return block;
}

void Run(const EVP_CIPHER *cipher, const uint8_t *key, const uint8_t *vector, uint8_t *bytes,
         size_t length)
{
    std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                            EVP_CIPHER_CTX_free);
    int done = 0;
    if (EVP_EncryptInit_ex(context.get(), cipher, nullptr, key, vector) != 1 ||
        EVP_CIPHER_CTX_set_padding(context.get(), 0) != 1 ||
        EVP_EncryptUpdate(context.get(), bytes, &done, bytes, static_cast<int>(length)) != 1)
        throw std::runtime_error("libcrypto refused");
}

Block EncryptedBlock(const uint8_t *key, size_t keySize, Block block)
{
    Run(keySize == 16 ? EVP_aes_128_ecb() : EVP_aes_256_ecb(), key, nullptr, block.data(),
        block.size());
    return block;
}

uint32_t Rotated(uint32_t value, unsigned bits)
{
    return bits == 0 ? value : value << bits | value >> (32 - bits);
}

}  // namespace

void DiffuserA(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {9, 0, 13, 0};
    for (int cycle = 0; cycle < 5; ++cycle)
        for (size_t i = count; i-- > 0;)
            words[i] -= words[(i + count - 2) % count] ^
                        Rotated(words[(i + count - 5) % count], kBits[i % 4]);
}

void DiffuserB(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {0, 10, 0, 25};
    for (int cycle = 0; cycle < 3; ++cycle)
        for (size_t i = count; i-- > 0;)
            words[i] -= words[(i + 2) % count] ^ Rotated(words[(i + 5) % count], kBits[i % 4]);
}

SectorEncryptor::SectorEncryptor(Method method, std::vector<uint8_t> key, uint32_t sectorSize)
    : _method(method), _key(std::move(key)), _sectorSize(sectorSize)
{
}

void SectorEncryptor::EncryptXts(uint64_t offset, uint8_t *sector) const
{
    Run(_key.size() == 32 ? EVP_aes_128_xts() : EVP_aes_256_xts(), _key.data(),
        LittleEndian(offset / _sectorSize).data(), sector, _sectorSize);
}

void SectorEncryptor::EncryptCbc(uint64_t offset, uint8_t *sector, size_t keySize) const
{
    const Block vector = EncryptedBlock(_key.data(), keySize, LittleEndian(offset));
    Run(keySize == 16 ? EVP_aes_128_cbc() : EVP_aes_256_cbc(), _key.data(), vector.data(), sector,
        _sectorSize);
}

void SectorEncryptor::Diffuse(uint64_t offset, uint8_t *sector, size_t keySize) const
{
    Block second = LittleEndian(offset);
    second[15] = 0x80;
    const Block halves[] = {EncryptedBlock(_key.data() + 32, keySize, LittleEndian(offset)),
                            EncryptedBlock(_key.data() + 32, keySize, second)};
    for (size_t i = 0; i < _sectorSize; ++i)
        sector[i] ^= halves[i / 16 % 2][i % 16];
    std::vector<uint32_t> words(_sectorSize / 4);
    std::memcpy(words.data(), sector, _sectorSize);
    DiffuserA(words.data(), words.size());
    DiffuserB(words.data(), words.size());
    std::memcpy(sector, words.data(), _sectorSize);
}

void SectorEncryptor::Encrypt(uint64_t offset, uint8_t *sector) const
{
    switch (_method) {
    case Method::kAes128Elephant:
        Diffuse(offset, sector, 16);
        return EncryptCbc(offset, sector, 16);
    case Method::kAes256Elephant:
        Diffuse(offset, sector, 32);
        return EncryptCbc(offset, sector, 32);
    case Method::kAes128Cbc:
        return EncryptCbc(offset, sector, 16);
    case Method::kAes256Cbc:
        return EncryptCbc(offset, sector, 32);
    case Method::kAes128Xts:
    case Method::kAes256Xts:
        return EncryptXts(offset, sector);
    case Method::kNone:
        break;
    }
}

}  // namespace vx::bitlocker::maker
