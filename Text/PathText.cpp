#include "PathText.h"

namespace vx {

std::string FolderOf(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

SplitPath::SplitPath(const std::string &path)
{
    const size_t slash = path.rfind('/');
    folder = slash == std::string::npos ? "" : path.substr(0, slash);
    name = slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace vx
