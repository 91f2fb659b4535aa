#include "DiskEvents.h"

#include "ListComparison.h"
#include "SystemFolders.h"
#include "UdevEvents.h"

namespace vx {

std::unique_ptr<DiskEvents> DiskEvents::In(const SystemFolders &folders)
{
    if (folders.isStandIn)
        return std::make_unique<ListComparison>();
    return std::make_unique<UdevEvents>();
}

}  // namespace vx
