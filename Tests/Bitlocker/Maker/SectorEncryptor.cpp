#include "SectorEncryptor.h"

#include <array>
#include <cstring>
#include <memory>
#include <openssl/evp.h>
#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

using Block = std::array<uint8_t, 16>;

Block littleEndian(uint64_t value)
{
    Block block{};
    for (size_t i = 0; i < 8; ++i)
        block[i] = static_cast<uint8_t>(value >> (8 * i));
    return block;
}

void run(const EVP_CIPHER *cipher, const uint8_t *key, const uint8_t *vector, uint8_t *bytes,
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

Block encryptedBlock(const uint8_t *key, size_t keySize, Block block)
{
    run(keySize == 16 ? EVP_aes_128_ecb() : EVP_aes_256_ecb(), key, nullptr, block.data(),
        block.size());
    return block;
}

uint32_t rotated(uint32_t value, unsigned bits)
{
    return bits == 0 ? value : value << bits | value >> (32 - bits);
}

}  // namespace

void diffuserA(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {9, 0, 13, 0};
    for (int cycle = 0; cycle < 5; ++cycle)
        for (size_t i = count; i-- > 0;)
            words[i] -= words[(i + count - 2) % count] ^
                        rotated(words[(i + count - 5) % count], kBits[i % 4]);
}

void diffuserB(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {0, 10, 0, 25};
    for (int cycle = 0; cycle < 3; ++cycle)
        for (size_t i = count; i-- > 0;)
            words[i] -= words[(i + 2) % count] ^ rotated(words[(i + 5) % count], kBits[i % 4]);
}

SectorEncryptor::SectorEncryptor(Method method, std::vector<uint8_t> key, uint32_t sectorSize)
    : _method(method), _key(std::move(key)), _sectorSize(sectorSize)
{
}

void SectorEncryptor::encryptXts(uint64_t offset, uint8_t *sector) const
{
    run(_key.size() == 32 ? EVP_aes_128_xts() : EVP_aes_256_xts(), _key.data(),
        littleEndian(offset / _sectorSize).data(), sector, _sectorSize);
}

void SectorEncryptor::encryptCbc(uint64_t offset, uint8_t *sector, size_t keySize) const
{
    const Block vector = encryptedBlock(_key.data(), keySize, littleEndian(offset));
    run(keySize == 16 ? EVP_aes_128_cbc() : EVP_aes_256_cbc(), _key.data(), vector.data(), sector,
        _sectorSize);
}

void SectorEncryptor::diffuse(uint64_t offset, uint8_t *sector, size_t keySize) const
{
    Block second = littleEndian(offset);
    second[15] = 0x80;
    const Block halves[] = {encryptedBlock(_key.data() + 32, keySize, littleEndian(offset)),
                            encryptedBlock(_key.data() + 32, keySize, second)};
    for (size_t i = 0; i < _sectorSize; ++i)
        sector[i] ^= halves[i / 16 % 2][i % 16];
    std::vector<uint32_t> words(_sectorSize / 4);
    std::memcpy(words.data(), sector, _sectorSize);
    diffuserA(words.data(), words.size());
    diffuserB(words.data(), words.size());
    std::memcpy(sector, words.data(), _sectorSize);
}

void SectorEncryptor::encrypt(uint64_t offset, uint8_t *sector) const
{
    switch (_method) {
    case Method::Aes128Elephant:
        diffuse(offset, sector, 16);
        return encryptCbc(offset, sector, 16);
    case Method::Aes256Elephant:
        diffuse(offset, sector, 32);
        return encryptCbc(offset, sector, 32);
    case Method::Aes128Cbc:
        return encryptCbc(offset, sector, 16);
    case Method::Aes256Cbc:
        return encryptCbc(offset, sector, 32);
    case Method::Aes128Xts:
    case Method::Aes256Xts:
        return encryptXts(offset, sector);
    case Method::None:
        break;
    }
}

}  // namespace vx::bitlocker::maker
