// A descriptor of another thread is looked at by its name in /proc and not by its number, which
// that thread may just be closing. Source: the manual page proc(5), /proc/[pid]/fd.
#include "OpenFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <memory>

namespace vx {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

}  // namespace

bool IsOpenHere(const struct stat &file)
{
    const std::unique_ptr<DIR, CloseFolder> descriptors(opendir("/proc/self/fd"));
    // Nobody can say that it is not.
    if (descriptors == nullptr)
        return true;
    struct stat open;
    while (const dirent *entry = readdir(descriptors.get())) {
        if (entry->d_name[0] != '.' &&
            fstatat(dirfd(descriptors.get()), entry->d_name, &open, 0) == 0 &&
            open.st_dev == file.st_dev && open.st_ino == file.st_ino)
            return true;
    }
    return false;
}

}  // namespace vx
