// Encrypts sectors one after the other in the plainest way, so that it checks the decryptor,
// which works on many at once.
#pragma once

#include "ByteView.h"
#include "Method.h"

namespace vx::bitlocker::maker {

class SectorEncryptor {
public:
    // key: as it is stored, SectorKeySize(method) bytes.
    SectorEncryptor(Method method, std::vector<uint8_t> key, uint32_t sectorSize);

    // Encrypts one sector in place. offset: where it will be stored.
    void Encrypt(uint64_t offset, uint8_t *sector) const;

private:
    void EncryptXts(uint64_t offset, uint8_t *sector) const;
    void EncryptCbc(uint64_t offset, uint8_t *sector, size_t keySize) const;
    void Diffuse(uint64_t offset, uint8_t *sector, size_t keySize) const;

    const Method _method;
    const std::vector<uint8_t> _key;
    const uint32_t _sectorSize;
};

// The diffusers in the direction of encryption, in place.
void DiffuserA(uint32_t *words, size_t count);
void DiffuserB(uint32_t *words, size_t count);

}  // namespace vx::bitlocker::maker
