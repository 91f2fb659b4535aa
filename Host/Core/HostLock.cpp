#include "HostLock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vx {
namespace {

std::string NameOf(uid_t user)
{
    const struct passwd *entry = getpwuid(user);
    return entry == nullptr ? "number " + std::to_string(user) : entry->pw_name;
}

// The user of the file if that is another one: "anna", "number 4711"; empty otherwise.
std::string OtherOwner(const std::string &path)
{
    struct stat status;
    if (lstat(path.c_str(), &status) == -1 || status.st_uid == geteuid())
        return "";
    return NameOf(status.st_uid);
}

std::string WhyNotOpened(const std::string &path, int error, const std::string &owner)
{
    if (!owner.empty())
        return path + " belongs to user " + owner +
               "; if that user's host is not running, have the file removed";
    return "cannot open " + path + ": " + strerror(error);
}

std::string WhyNotLocked(const std::string &path, int error, const std::string &owner)
{
    if (error != EWOULDBLOCK)
        return "cannot lock " + path + ": " + strerror(error);
    return "another host is running (it holds " + path +
           (owner.empty() ? "" : " of user " + owner) + ")";
}

}  // namespace

HostLock::HostLock(const std::string &path) : _path(path)
{
    while (TryOnce()) {
    }
}

HostLock::~HostLock()
{
    if (IsHeld())
        unlink(_path.c_str());
}

bool HostLock::TryOnce()
{
    UniqueFd file(open(_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) {
        const int error = errno;
        _owner = error == EACCES ? OtherOwner(_path) : "";
        _error = WhyNotOpened(_path, error, _owner);
        return false;
    }
    if (flock(file.Get(), LOCK_EX | LOCK_NB) == -1) {
        const int error = errno;
        _isHeldByAnother = error == EWOULDBLOCK;
        _owner = _isHeldByAnother ? OtherOwner(_path) : "";
        _error = WhyNotLocked(_path, error, _owner);
        return false;
    }
    _file = std::move(file);
    if (PathStillNamesFile())
        return false;
    _file.Close();
    return true;
}

bool HostLock::PathStillNamesFile() const
{
    struct stat held, named;
    return fstat(_file.Get(), &held) == 0 && lstat(_path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace vx
