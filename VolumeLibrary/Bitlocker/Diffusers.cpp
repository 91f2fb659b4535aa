#include "Diffusers.h"

namespace vx::bitlocker {

namespace {

constexpr int kCyclesA = 5;
constexpr int kCyclesB = 3;
constexpr size_t kReach = 5;  // the farthest neighbour that a word is mixed with

uint32_t Rotated(uint32_t value, unsigned bits)
{
    return value << bits | value >> ((32 - bits) % 32);
}

// One word from the two after it, which lie in the array without wrapping.
template <unsigned kBits>
void MixBehind(uint32_t *word)
{
    word[0] += word[2] ^ Rotated(word[5], kBits);
}

// One word from the two before it.
template <unsigned kBits>
void MixBefore(uint32_t *word)
{
    word[0] += word[-2] ^ Rotated(word[-5], kBits);
}

// The words near the ends of the sector have neighbours at the other end.
void MixWrapped(uint32_t *words, size_t count, size_t i, size_t near, size_t far, unsigned bits)
{
    words[i] += words[(i + near) % count] ^ Rotated(words[(i + far) % count], bits);
}

}  // namespace

void UndoDiffuserB(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {0, 10, 0, 25};
    for (int cycle = 0; cycle < kCyclesB; ++cycle) {
        size_t i = 0;
        for (; i + 4 + kReach <= count; i += 4) {
            MixBehind<0>(words + i);
            MixBehind<10>(words + i + 1);
            MixBehind<0>(words + i + 2);
            MixBehind<25>(words + i + 3);
        }
        for (; i < count; ++i)
            MixWrapped(words, count, i, 2, kReach, kBits[i % 4]);
    }
}

void UndoDiffuserA(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {9, 0, 13, 0};
    for (int cycle = 0; cycle < kCyclesA; ++cycle) {
        size_t i = 0;
        for (; i < 8; ++i)
            MixWrapped(words, count, i, count - 2, count - kReach, kBits[i % 4]);
        for (; i < count; i += 4) {
            MixBefore<9>(words + i);
            MixBefore<0>(words + i + 1);
            MixBefore<13>(words + i + 2);
            MixBefore<0>(words + i + 3);
        }
    }
}

}  // namespace vx::bitlocker
