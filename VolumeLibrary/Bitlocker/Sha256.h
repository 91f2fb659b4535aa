// SHA-256 of a run of bytes.
#pragma once

#include "ByteView.h"

#include <array>

namespace vx::bitlocker {

using Sha256Digest = std::array<uint8_t, 32>;

Sha256Digest Sha256(ByteView bytes);
// The same for secrets: the digest goes straight to 32 bytes of the caller's.
void Sha256(ByteView bytes, uint8_t *digest);

}  // namespace vx::bitlocker
