// Processors for which there is nothing wider than the plain way.
#include "XtsTweaks.h"

namespace vx::bitlocker {

std::vector<XtsTweaks> wideXtsTweaks()
{
    return {};
}

}  // namespace vx::bitlocker
