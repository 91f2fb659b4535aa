#include "ProgramFolder.h"

#include "PathText.h"

#include <climits>
#include <unistd.h>

namespace vx {

std::string ProgramFolder()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
    if (length <= 0 || length == sizeof(path))
        return "";
    return FolderOf(std::string(path, static_cast<size_t>(length)));
}

}  // namespace vx
