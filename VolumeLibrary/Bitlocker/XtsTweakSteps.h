// How the tweaks of XTS are made in vectors of kWidth bytes, 16, 32 or 64.
//
// Only for the functions that XtsTweaks is made of. Everything is inlined into them, so that it is
// compiled for the instructions that they have; vectors are passed by reference for the same
// reason.
#pragma once

#include "XtsTweaks.h"

#include <cstring>
#include <utility>

#define VX_INLINED inline __attribute__((always_inline))

namespace vx::bitlocker {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "a tweak is held as the disk orders it");

template <size_t kWidth>
class XtsTweakSteps {
public:
    // As in XtsTweaks. A row is made of eight tweaks at once, so that the step to the next row is
    // one by whole bytes.
    static VX_INLINED void apply(const uint8_t *first, size_t sectorSize, const uint8_t *in,
                                 uint8_t *tweaks, uint8_t *masked, size_t length)
    {
        for (size_t sector = 0; sector < length; sector += sectorSize, first += kBlock) {
            Vector row[kVectors];
            for (size_t k = 0; k < kVectors; ++k)
                begin(row[k], first, k * kBlocks, Halves());
            for (size_t at = sector; at < sector + sectorSize; at += kXtsRow) {
                if (at > sector)
                    for (Vector &tweak : row)
                        timesX8(tweak);
                for (size_t k = 0; k < kVectors; ++k) {
                    Vector data;
                    load(data, in + at + k * kWidth);
                    data ^= row[k];
                    store(tweaks + at + k * kWidth, row[k]);
                    store(masked + at + k * kWidth, data);
                }
            }
        }
    }

    static VX_INLINED void remove(const uint8_t *tweaks, uint8_t *data, size_t length)
    {
        for (size_t at = 0; at < length; at += kWidth) {
            Vector value;
            Vector tweak;
            load(value, data + at);
            load(tweak, tweaks + at);
            value ^= tweak;
            store(data + at, value);
        }
    }

private:
    // Of each tweak the lower half, then the upper one.
    typedef uint64_t Vector __attribute__((vector_size(kWidth)));
    using Halves = std::make_index_sequence<kWidth / sizeof(uint64_t)>;

    static constexpr size_t kBlock = 16;
    static constexpr size_t kBlocks = kWidth / kBlock;    // of a vector
    static constexpr size_t kVectors = kXtsRow / kWidth;  // of a row
    static_assert(kXtsRow / kBlock == 8, "timesX8 leads from one row to the next");

    static VX_INLINED void load(Vector &value, const uint8_t *place)
    {
        std::memcpy(&value, place, sizeof value);
    }

    static VX_INLINED void store(uint8_t *place, const Vector &value)
    {
        std::memcpy(place, &value, sizeof value);
    }

    // The tweaks first * x^power, first * x^(power + 1), ... The powers are less than 8.
    template <size_t... kHalf>
    static VX_INLINED void begin(Vector &tweak, const uint8_t *first, uint64_t power,
                                 std::index_sequence<kHalf...>)
    {
        uint64_t halves[2];
        std::memcpy(halves, first, sizeof halves);
        const Vector powers = {(power + kHalf / 2)...};
        tweak = Vector{halves[kHalf % 2]...};
        const Vector out = tweak >> 1 >> (63 - powers);
        tweak <<= powers;
        carry(tweak, out, Halves());
    }

    static VX_INLINED void timesX8(Vector &tweak)
    {
        const Vector out = tweak >> 56;
        tweak <<= 8;
        carry(tweak, out, Halves());
    }

    // What falls out of a lower half comes in at the upper one; what falls out of an upper one is
    // multiplied by x^7 + x^2 + x + 1.
    template <size_t... kHalf>
    static VX_INLINED void carry(Vector &tweak, const Vector &out, std::index_sequence<kHalf...>)
    {
        const Vector carried = __builtin_shufflevector(out, out, (kHalf ^ 1)...);
        const Vector reduced = carried & Vector{(kHalf % 2 == 0 ? UINT64_MAX : 0)...};
        tweak ^= carried ^ (reduced << 1) ^ (reduced << 2) ^ (reduced << 7);
    }
};

}  // namespace vx::bitlocker

#undef VX_INLINED
