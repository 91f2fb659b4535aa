#include "XtsTweaks.h"

#include "XtsTweakSteps.h"

namespace vx::bitlocker {

namespace {

void Apply(const uint8_t *first, size_t sectorSize, const uint8_t *in, uint8_t *tweaks,
           uint8_t *masked, size_t length)
{
    XtsTweakSteps<16>::Apply(first, sectorSize, in, tweaks, masked, length);
}

void Remove(const uint8_t *tweaks, uint8_t *data, size_t length)
{
    XtsTweakSteps<16>::Remove(tweaks, data, length);
}

XtsTweaks Fastest()
{
    for (const XtsTweaks &wide : WideXtsTweaks())
        if (wide.supported)
            return wide;
    return PlainXtsTweaks();
}

}  // namespace

XtsTweaks PlainXtsTweaks()
{
    return {"plain", true, Apply, Remove};
}

const XtsTweaks &BestXtsTweaks()
{
    static const XtsTweaks best = Fastest();
    return best;
}

}  // namespace vx::bitlocker
