// The sequence of tweaks of one XTS message: each is the one before times x in GF(2^128).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vx::bitlocker {

// The number of bytes of which a message is a multiple.
constexpr size_t kXtsStride = 512;

// first: 16 bytes. tweaks receives length bytes, a multiple of kXtsStride; masked receives the
// same number, in[i] ^ tweaks[i]. No two of the ranges overlap.
void applyXtsTweaks(const uint8_t *first, const uint8_t *in, uint8_t *tweaks, uint8_t *masked,
                    size_t length);

}  // namespace vx::bitlocker
