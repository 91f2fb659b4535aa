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
    static VX_INLINED void Apply(const uint8_t *first, size_t sectorSize, const uint8_t *in,
                                 uint8_t *tweaks, uint8_t *masked, size_t length)
    {
        for (size_t sector = 0; sector < length; sector += sectorSize, first += kBlock) {
            Vector row[kVectors];
            for (size_t k = 0; k < kVectors; ++k)
                Begin(row[k], first, k * kBlocks, Halves());
            for (size_t at = sector; at < sector + sectorSize; at += kXtsRow) {
                if (at > sector)
                    for (Vector &tweak : row)
                        TimesX8(tweak, Bytes());
                for (size_t k = 0; k < kVectors; ++k) {
                    Vector data;
                    Load(data, in + at + k * kWidth);
                    data ^= row[k];
                    Store(tweaks + at + k * kWidth, row[k]);
                    Store(masked + at + k * kWidth, data);
                }
            }
        }
    }

    static VX_INLINED void Remove(const uint8_t *tweaks, uint8_t *data, size_t length)
    {
        for (size_t at = 0; at < length; at += kWidth) {
            Vector value;
            Vector tweak;
            Load(value, data + at);
            Load(tweak, tweaks + at);
            value ^= tweak;
            Store(data + at, value);
        }
    }

private:
    static constexpr size_t kBlock = 16;
    static constexpr size_t kBlocks = kWidth / kBlock;            // of a vector
    static constexpr size_t kHalves = kWidth / sizeof(uint64_t);  // of its tweaks
    static constexpr size_t kVectors = kXtsRow / kWidth;          // of a row

    // Of each tweak the lower half, then the upper one.
    typedef uint64_t Vector __attribute__((vector_size(kWidth)));
    typedef uint8_t ByteVector __attribute__((vector_size(kWidth)));
    using Halves = std::make_index_sequence<kHalves>;
    using Bytes = std::make_index_sequence<kWidth>;

    static_assert(kXtsRow / kBlock == 8, "TimesX8 leads from one row to the next");

    static VX_INLINED void Load(Vector &value, const uint8_t *place)
    {
        std::memcpy(&value, place, sizeof value);
    }

    static VX_INLINED void Store(uint8_t *place, const Vector &value)
    {
        std::memcpy(place, &value, sizeof value);
    }

    // The tweaks first * x^power, first * x^(power + 1), ... The powers are less than 8.
    template <size_t... kHalf>
    static VX_INLINED void Begin(Vector &tweak, const uint8_t *first, uint64_t power,
                                 std::index_sequence<kHalf...>)
    {
        uint64_t halves[2];
        std::memcpy(halves, first, sizeof halves);
        const Vector powers = {(power + kHalf / 2)...};
        tweak = Vector{halves[kHalf % 2]...};
        const Vector out = tweak >> 1 >> (63 - powers);
        tweak <<= powers;
        const Vector zeros = {};
        tweak ^= __builtin_shufflevector(out, zeros, (kHalf % 2 == 0 ? kHalves : kHalf - 1)...);
        Reduce(tweak,
               __builtin_shufflevector(out, zeros, (kHalf % 2 == 0 ? kHalf + 1 : kHalves)...));
    }

    // By moving whole bytes.
    template <size_t... kByte>
    static VX_INLINED void TimesX8(Vector &tweak, std::index_sequence<kByte...>)
    {
        const ByteVector zeros = {};
        const auto bytes = reinterpret_cast<ByteVector>(tweak);
        const auto out = reinterpret_cast<Vector>(__builtin_shufflevector(
            bytes, zeros, (kByte % kBlock == 0 ? kByte + kBlock - 1 : kWidth)...));
        tweak = reinterpret_cast<Vector>(
            __builtin_shufflevector(bytes, zeros, (kByte % kBlock == 0 ? kWidth : kByte - 1)...));
        Reduce(tweak, out);
    }

    // What falls out at the top is multiplied by x^7 + x^2 + x + 1.
    static VX_INLINED void Reduce(Vector &tweak, const Vector &out)
    {
        tweak ^= out ^ (out << 1) ^ (out << 2) ^ (out << 7);
    }
};

}  // namespace vx::bitlocker

#undef VX_INLINED
