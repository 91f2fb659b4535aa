#include "DeviceFolder.h"

#include "SystemFolders.h"

namespace vx {

std::string DeviceFolder()
{
    return CurrentSystemFolders().devices;
}

}  // namespace vx
