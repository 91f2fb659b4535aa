// Processors without wider vectors.
#include "XtsTweaks.h"

namespace vx::bitlocker {

std::vector<XtsTweaks> WideXtsTweaks()
{
    return {};
}

}  // namespace vx::bitlocker
