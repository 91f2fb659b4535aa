#include "LocalFile.h"

#include "NumberText.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace vx {

FileIdentity IdentityOf(const struct stat &file)
{
    return {static_cast<uint64_t>(file.st_dev), static_cast<uint64_t>(file.st_ino)};
}

std::string ReasonNotThere(int folder, const std::string &name, int64_t size)
{
    struct stat found;
    if (fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return std::string("its copy is no longer in its place: ") + strerror(errno);
    if (!S_ISREG(found.st_mode))
        return "something else is now in the place of its copy";
    if (found.st_size == size)
        return "";
    return "incomplete: " + GroupedText(found.st_size) + " of " + CountText(size, "byte", "bytes") +
           " arrived";
}

UniqueFd OpenArrived(int folder, const std::string &name)
{
    UniqueFd file(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat opened;
    if (!file || fstat(file.Get(), &opened) != 0)
        return UniqueFd();
    if (S_ISREG(opened.st_mode))
        return file;
    errno = ENXIO;
    return UniqueFd();
}

}  // namespace vx
