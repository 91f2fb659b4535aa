#include "ProgramFolder.h"

#include "PathText.h"

#include <climits>
#include <cstdlib>
#include <mach-o/dyld.h>

namespace vx {

std::string ProgramFolder()
{
    char path[PATH_MAX];
    char real[PATH_MAX];
    uint32_t size = sizeof(path);
    if (_NSGetExecutablePath(path, &size) != 0 || realpath(path, real) == nullptr)
        return "";
    return FolderOf(real);
}

}  // namespace vx
