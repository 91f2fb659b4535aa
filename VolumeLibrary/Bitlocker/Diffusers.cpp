#include "Diffusers.h"

namespace vx::bitlocker {

namespace {

constexpr int kCyclesA = 5;
constexpr int kCyclesB = 3;
constexpr size_t kReach = 5;  // the farthest neighbour that a word is mixed with

uint32_t rotated(uint32_t value, unsigned bits)
{
    return value << bits | value >> ((32 - bits) % 32);
}

// One word from the two behind it, which stand in the array without wrapping.
template <unsigned kBits>
void mixBehind(uint32_t *word)
{
    word[0] += word[2] ^ rotated(word[5], kBits);
}

// One word from the two before it.
template <unsigned kBits>
void mixBefore(uint32_t *word)
{
    word[0] += word[-2] ^ rotated(word[-5], kBits);
}

// The words near the ends of the sector have neighbours at the other end.
void mixWrapped(uint32_t *words, size_t count, size_t i, size_t near, size_t far, unsigned bits)
{
    words[i] += words[(i + near) % count] ^ rotated(words[(i + far) % count], bits);
}

}  // namespace

void undoDiffuserB(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {0, 10, 0, 25};
    for (int cycle = 0; cycle < kCyclesB; ++cycle) {
        size_t i = 0;
        for (; i + 4 + kReach <= count; i += 4) {
            mixBehind<0>(words + i);
            mixBehind<10>(words + i + 1);
            mixBehind<0>(words + i + 2);
            mixBehind<25>(words + i + 3);
        }
        for (; i < count; ++i)
            mixWrapped(words, count, i, 2, kReach, kBits[i % 4]);
    }
}

void undoDiffuserA(uint32_t *words, size_t count)
{
    static constexpr unsigned kBits[] = {9, 0, 13, 0};
    for (int cycle = 0; cycle < kCyclesA; ++cycle) {
        size_t i = 0;
        for (; i < 8; ++i)
            mixWrapped(words, count, i, count - 2, count - kReach, kBits[i % 4]);
        for (; i < count; i += 4) {
            mixBefore<9>(words + i);
            mixBefore<0>(words + i + 1);
            mixBefore<13>(words + i + 2);
            mixBefore<0>(words + i + 3);
        }
    }
}

}  // namespace vx::bitlocker
