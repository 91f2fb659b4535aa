// Makes a host the only one on its FIFO paths: an exclusive flock on a file beside them.
//
// The kernel releases the lock however the process ends, so a host that crashed never blocks the
// next one. The file is removed while the lock is still held; a host that opened it just before
// sees that the path now names another file, or none, and starts over.
// Only an empty ordinary file of this user is a lock. Whatever else lies at the path is refused by
// name, and neither opened nor removed.
// The descriptor is close-on-exec: the explorer does not inherit the lock.
//
// Threads: that of the session.
#pragma once

#include "UniqueFd.h"

#include <string>
#include <sys/stat.h>

namespace vx {

class HostLock {
public:
    // Tries once, without waiting.
    explicit HostLock(const std::string &path);
    ~HostLock();
    HostLock(const HostLock &) = delete;
    HostLock &operator=(const HostLock &) = delete;

    bool IsHeld() const { return bool(_file); }
    // One line on why it is not held; empty if it is.
    const std::string &GetError() const { return _error; }
    // Whether another host is why.
    bool IsHeldByAnother() const { return _isHeldByAnother; }
    // The other user who keeps this one from it: "anna", "number 4711"; empty if none does.
    const std::string &Owner() const { return _owner; }

private:
    // Returns whether it is worth trying again.
    bool TryOnce();
    bool IsOwnLock(const struct stat &status);
    bool Lock(UniqueFd file);
    bool PathStillNamesFile() const;

    const std::string _path;
    std::string _error;
    std::string _owner;
    bool _isHeldByAnother = false;
    UniqueFd _file;
};

}  // namespace vx
