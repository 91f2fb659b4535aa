#include "XtsTweaks.h"

#include <cstring>

namespace vx::bitlocker {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a tweak is held as the disk orders it");

// One tweak in a vector register.
typedef uint64_t Tweak __attribute__((vector_size(16)));
typedef int32_t Signs __attribute__((vector_size(16)));

// A step has to wait for the one before it, so a stride is made of four chains, a quarter
// apart, that go on side by side.
constexpr size_t kChains = 4;
constexpr size_t kChainBytes = kXtsStride / kChains;
constexpr size_t kBlock = sizeof(Tweak);
static_assert(kChainBytes / kBlock == 8, "timesX8 leads from one chain to the next");

Tweak timesX(Tweak tweak)
{
    // The bits that leave the two halves, as masks in the places where they come in again.
    const Signs signs = reinterpret_cast<Signs>(tweak) >> 31;
    const Signs carries = __builtin_shufflevector(signs, signs, 3, 0, 1, 2);
    const Signs values = {0x87, 0, 1, 0};
    return (tweak << 1) ^ reinterpret_cast<Tweak>(carries & values);
}

// The byte that falls out is multiplied by x^7 + x^2 + x + 1.
Tweak timesX8(Tweak tweak)
{
    const Tweak out = tweak >> 56;
    const Tweak carries = __builtin_shufflevector(out, out, 1, 0);
    const Tweak reduced = carries & Tweak{UINT64_MAX, 0};
    return (tweak << 8) ^ carries ^ (reduced << 1) ^ (reduced << 2) ^ (reduced << 7);
}

Tweak load(const uint8_t *place)
{
    Tweak value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

void store(uint8_t *place, Tweak value)
{
    std::memcpy(place, &value, sizeof value);
}

}  // namespace

void applyXtsTweaks(const uint8_t *first, const uint8_t *in, uint8_t *tweaks, uint8_t *masked,
                    size_t length)
{
    Tweak next = load(first);
    for (size_t stride = 0; stride < length; stride += kXtsStride) {
        Tweak chains[kChains] = {next};
        for (size_t chain = 1; chain < kChains; ++chain)
            chains[chain] = timesX8(chains[chain - 1]);
        for (size_t step = stride; step < stride + kChainBytes; step += kBlock) {
            for (size_t chain = 0; chain < kChains; ++chain) {
                const size_t at = step + chain * kChainBytes;
                store(tweaks + at, chains[chain]);
                store(masked + at, load(in + at) ^ chains[chain]);
                chains[chain] = timesX(chains[chain]);
            }
        }
        next = chains[kChains - 1];
    }
}

}  // namespace vx::bitlocker
