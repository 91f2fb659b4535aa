#include "XtsTweaks.h"

#include "XtsTweakSteps.h"

namespace vx::bitlocker {

namespace {

void apply(const uint8_t *first, size_t sectorSize, const uint8_t *in, uint8_t *tweaks,
           uint8_t *masked, size_t length)
{
    XtsTweakSteps<16>::apply(first, sectorSize, in, tweaks, masked, length);
}

void remove(const uint8_t *tweaks, uint8_t *data, size_t length)
{
    XtsTweakSteps<16>::remove(tweaks, data, length);
}

XtsTweaks fastest()
{
    for (const XtsTweaks &wide : wideXtsTweaks())
        if (wide.supported)
            return wide;
    return plainXtsTweaks();
}

}  // namespace

XtsTweaks plainXtsTweaks()
{
    return {"plain", true, apply, remove};
}

const XtsTweaks &bestXtsTweaks()
{
    static const XtsTweaks best = fastest();
    return best;
}

}  // namespace vx::bitlocker
