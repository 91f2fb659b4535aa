// The two diffusers of the Elephant method in the direction of decryption.
//
// They work in place on one sector of count 32-bit words in the machine's byte order; count is
// a multiple of 4 and 16 at least. Decrypting runs B first, then A.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vx::bitlocker {

void UndoDiffuserB(uint32_t *words, size_t count);
void UndoDiffuserA(uint32_t *words, size_t count);

}  // namespace vx::bitlocker
