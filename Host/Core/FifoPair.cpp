#include "FifoPair.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kOwnerOnly = 0600;

bool IsOwnFifo(const std::string &path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode) &&
           status.st_uid == geteuid();
}

std::string MakeFifo(const std::string &path, bool &made)
{
    if (IsOwnFifo(path))
        unlink(path.c_str());
    made = mkfifo(path.c_str(), kOwnerOnly) == 0;
    if (made)
        return "";
    if (errno == EEXIST)
        return path + " is in the way: it is not a FIFO of this user";
    return "cannot make " + path + ": " + strerror(errno);
}

}  // namespace

namespace vx {

std::string MakeFifoPair(const LinkPaths &paths)
{
    bool madeFirst = false;
    bool madeSecond = false;
    std::string error = MakeFifo(paths.read, madeFirst);
    if (error.empty())
        error = MakeFifo(paths.write, madeSecond);
    if (!error.empty() && madeFirst)
        unlink(paths.read.c_str());
    return error;
}

void RemoveFifoPair(const LinkPaths &paths)
{
    unlink(paths.read.c_str());
    unlink(paths.write.c_str());
}

}  // namespace vx
