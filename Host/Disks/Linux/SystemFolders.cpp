#include "SystemFolders.h"

#include "AttachedDisks.h"
#include "Mutex.h"

namespace vx {
namespace {

struct ChosenFolders {
    Mutex mutex;
    SystemFolders folders VX_GUARDED_BY(mutex);
};

ChosenFolders &Chosen()
{
    static ChosenFolders chosen;
    return chosen;
}

}  // namespace

SystemFolders SystemFolders::Below(const std::string &path)
{
    SystemFolders folders;
    for (std::string *folder :
         {&folders.blocks, &folders.udevData, &folders.devices, &folders.mounts})
        folder->insert(0, path);
    folders.isStandIn = true;
    return folders;
}

SystemFolders CurrentSystemFolders()
{
    ChosenFolders &chosen = Chosen();
    const MutexLock lock(chosen.mutex);
    return chosen.folders;
}

void SetSystemFolder(const std::string &path)
{
    ChosenFolders &chosen = Chosen();
    const MutexLock lock(chosen.mutex);
    chosen.folders = path.empty() ? SystemFolders() : SystemFolders::Below(path);
}

}  // namespace vx
