#include "HostLock.h"

#include "UserName.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vx {
namespace {

std::string NameOf(uid_t user)
{
    const std::string name = UserName(user);
    return name.empty() ? "number " + std::to_string(user) : name;
}

// Why a file is no lock of this user, in one line; empty if it is one.
std::string WhyInTheWay(const std::string &path, const struct stat &status)
{
    if (!S_ISREG(status.st_mode) || status.st_size != 0)
        return path + " is in the way: it is not an empty file; move it elsewhere";
    if (status.st_uid != geteuid())
        return path + " belongs to user " + NameOf(status.st_uid) +
               "; if that user's host is not running, have the file removed";
    return "";
}

}  // namespace

HostLock::HostLock(const std::string &path) : _path(path)
{
    while (TryOnce()) {
    }
}

HostLock::~HostLock()
{
    struct stat status;
    if (IsHeld() && PathStillNamesFile() && fstat(_file.Get(), &status) == 0 &&
        WhyInTheWay(_path, status).empty())
        unlink(_path.c_str());
}

bool HostLock::TryOnce()
{
    // Before the file is opened: that alone would wake who waits at a FIFO.
    struct stat status;
    if (lstat(_path.c_str(), &status) == 0 && !IsOwnLock(status))
        return false;
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    UniqueFd file(open(_path.c_str(), kFlags, 0600));
    if (!file || fstat(file.Get(), &status) == -1) {
        _error = "cannot open " + _path + ": " + strerror(errno);
        return false;
    }
    return IsOwnLock(status) && Lock(std::move(file));
}

bool HostLock::IsOwnLock(const struct stat &status)
{
    _error = WhyInTheWay(_path, status);
    if (!_error.empty() && status.st_uid != geteuid())
        _owner = NameOf(status.st_uid);
    return _error.empty();
}

bool HostLock::Lock(UniqueFd file)
{
    if (flock(file.Get(), LOCK_EX | LOCK_NB) == -1) {
        _isHeldByAnother = errno == EWOULDBLOCK;
        _error = _isHeldByAnother ? "another host is running (it holds " + _path + ")"
                                  : "cannot lock " + _path + ": " + strerror(errno);
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
