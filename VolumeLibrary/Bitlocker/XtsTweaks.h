// The sequences of tweaks of XTS sectors: the first tweak of a sector is given, each of the others
// is the one before times x in GF(2^128).
//
// The same steps for vectors of different widths; BestXtsTweaks() chooses once, by what the
// processor has. All give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vx::bitlocker {

// The number of bytes of which a sector is a multiple.
constexpr size_t kXtsRow = 128;

struct XtsTweaks {
    const char *name;
    bool supported;  // by this processor

    // first: 16 bytes for each sector. tweaks receives length bytes, a multiple of sectorSize;
    // masked receives the same number, in[i] ^ tweaks[i]. No two of the ranges overlap.
    void (*apply)(const uint8_t *first, size_t sectorSize, const uint8_t *in, uint8_t *tweaks,
                  uint8_t *masked, size_t length);
    // data[i] ^= tweaks[i], length bytes, a multiple of kXtsRow.
    void (*remove)(const uint8_t *tweaks, uint8_t *data, size_t length);
};

// For any processor.
XtsTweaks PlainXtsTweaks();
// What this kind of processor can have beyond that, the fastest first.
std::vector<XtsTweaks> WideXtsTweaks();
// The fastest that is supported.
const XtsTweaks &BestXtsTweaks();

}  // namespace vx::bitlocker
