// AES-256-CCM as the format uses it to wrap keys: nonce of 12 bytes, tag of 16, nothing else
// authenticated.
//
// libcrypto is called with a key of 32 bytes, a nonce and a tag of fixed size, and a ciphertext of
// less than 64 KiB, since entries of the metadata count their bytes in 16 bits; the plaintext
// buffer is the same size.
#pragma once

#include "WrappedKey.h"

namespace vx::bitlocker {

// The plaintext, or none if the tag does not fit (wrong key or damaged bytes).
std::optional<KeyMaterial> AesCcmUnwrap(ByteView key, const WrappedKey &wrapped);

}  // namespace vx::bitlocker
