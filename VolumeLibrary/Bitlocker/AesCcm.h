// AES-256-CCM as the format uses it to wrap keys: nonce of 12 bytes, tag of 16, nothing else
// authenticated.
#pragma once

#include "WrappedKey.h"

namespace vx::bitlocker {

// The plaintext, or none if the tag does not fit (wrong key or damaged bytes).
std::optional<KeyMaterial> aesCcmUnwrap(ByteView key, const WrappedKey &wrapped);

}  // namespace vx::bitlocker
