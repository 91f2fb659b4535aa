#include "DeviceFolder.h"

namespace vx {

std::string DeviceFolder()
{
    return "/dev";
}

}  // namespace vx
