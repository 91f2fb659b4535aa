// The widths that the compiler may not assume but the processor may have. Each function is
// compiled for its own width, so nothing else in the program needs the instructions.
#include "XtsTweakSteps.h"
#include "XtsTweaks.h"

namespace vx::bitlocker {

namespace {

#define VX_AVX2 __attribute__((target("avx2")))
#define VX_AVX512 __attribute__((target("avx512f,avx512bw")))

VX_AVX2 void Apply32(const uint8_t *first, size_t sectorSize, const uint8_t *in, uint8_t *tweaks,
                     uint8_t *masked, size_t length)
{
    XtsTweakSteps<32>::Apply(first, sectorSize, in, tweaks, masked, length);
}

VX_AVX2 void Remove32(const uint8_t *tweaks, uint8_t *data, size_t length)
{
    XtsTweakSteps<32>::Remove(tweaks, data, length);
}

VX_AVX512 void Apply64(const uint8_t *first, size_t sectorSize, const uint8_t *in, uint8_t *tweaks,
                       uint8_t *masked, size_t length)
{
    XtsTweakSteps<64>::Apply(first, sectorSize, in, tweaks, masked, length);
}

VX_AVX512 void Remove64(const uint8_t *tweaks, uint8_t *data, size_t length)
{
    XtsTweakSteps<64>::Remove(tweaks, data, length);
}

bool HasAvx2()
{
    return __builtin_cpu_supports("avx2") != 0;
}

bool HasAvx512()
{
    return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0;
}

}  // namespace

std::vector<XtsTweaks> WideXtsTweaks()
{
    return {{"AVX-512", HasAvx512(), Apply64, Remove64}, {"AVX2", HasAvx2(), Apply32, Remove32}};
}

}  // namespace vx::bitlocker
