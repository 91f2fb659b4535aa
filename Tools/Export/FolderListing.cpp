#include "FolderListing.h"

#include "UniqueFd.h"

#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace vx {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

}  // namespace

std::vector<std::string> NamesIn(int folder, const std::string &prefix)
{
    UniqueFd own(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, CloseFolder> list(own ? fdopendir(own.Get()) : nullptr);
    std::vector<std::string> names;
    if (list == nullptr)
        return names;
    own.Release();
    while (const dirent *entry = readdir(list.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && name.compare(0, prefix.size(), prefix) == 0)
            names.push_back(name);
    }
    return names;
}

}  // namespace vx
