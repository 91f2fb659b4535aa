#include "Sha256.h"

#include <new>
#include <openssl/evp.h>

namespace vx::bitlocker {

Sha256Digest Sha256(ByteView bytes)
{
    Sha256Digest digest;
    Sha256(bytes, digest.data());
    return digest;
}

void Sha256(ByteView bytes, uint8_t *digest)
{
    // Hashing in memory fails only when memory runs out.
    if (EVP_Digest(bytes.data, bytes.size, digest, nullptr, EVP_sha256(), nullptr) != 1)
        throw std::bad_alloc();
}

}  // namespace vx::bitlocker
