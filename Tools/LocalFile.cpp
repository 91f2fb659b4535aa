#include "LocalFile.h"

#include "NumberText.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace vx {
namespace {

// File systems keep times in steps of up to two seconds.
constexpr time_t kClockStep = 2;

std::string FolderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

bool IsDiskFull(const std::string &folder, int64_t wanted)
{
    struct statvfs disk;
    if (statvfs(folder.c_str(), &disk) != 0)
        return false;
    const bool hasNoFiles = disk.f_files != 0 && disk.f_favail == 0;
    return hasNoFiles || int64_t(disk.f_bavail) < wanted / int64_t(disk.f_frsize) + 1;
}

std::string ReasonMissing(const std::string &path, int64_t size, int error)
{
    if (error == ENOTDIR)
        return "a file of this machine stands where its folder should be";
    if (error != ENOENT)
        return std::string("could not be created: ") + strerror(error);
    const std::string folder = FolderOf(path);
    if (access(folder.c_str(), F_OK) != 0)
        return "its folder could not be made";
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        return std::string("could not be created: ") + strerror(errno);
    if (IsDiskFull(folder, size))
        return "could not be created: the disk is full";
    return "could not be created";
}

// Whether something that was there before is still there, because it cannot be written.
bool IsLeftFromBefore(const std::string &path, const struct stat &found, time_t started)
{
    return found.st_mtime < started - kClockStep && access(path.c_str(), W_OK) != 0;
}

}  // namespace

std::string ReasonNotArrived(const std::string &path, int64_t size, time_t started,
                             FileIdentity *identity)
{
    struct stat found;
    if (stat(path.c_str(), &found) != 0)
        return ReasonMissing(path, size, errno);
    *identity = {static_cast<uint64_t>(found.st_dev), static_cast<uint64_t>(found.st_ino)};
    if (S_ISDIR(found.st_mode))
        return "a folder of this machine stands in its place";
    if (IsLeftFromBefore(path, found, started))
        return "an older file in its place could not be overwritten";
    if (found.st_size == size)
        return "";
    std::string reason = "incomplete: " + GroupedText(found.st_size) + " of " +
                         CountText(size, "byte", "bytes") + " arrived";
    if (found.st_size < size && IsDiskFull(FolderOf(path), size - found.st_size))
        reason += "; the disk is full";
    return reason;
}

}  // namespace vx
