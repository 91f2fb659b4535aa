#include "HostLock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace vx {

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
        _error = "cannot open " + _path + ": " + strerror(errno);
        return false;
    }
    if (flock(file.Get(), LOCK_EX | LOCK_NB) == -1) {
        _error = errno == EWOULDBLOCK ? "another host is running (it holds " + _path + ")"
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
