// The owner of one file descriptor: closes it on destruction. Moved, not copied.
// Threads: one at a time, like any other value.
#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace vx {

class UniqueFd {
public:
    UniqueFd() = default;
    // Takes over fd; a negative number means none.
    explicit UniqueFd(int fd) : _fd(fd) {}
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    UniqueFd(UniqueFd &&other) noexcept : _fd(other.Release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        if (this != &other) {
            Close();
            _fd = other.Release();
        }
        return *this;
    }
    ~UniqueFd() { Close(); }

    explicit operator bool() const { return _fd >= 0; }
    int Get() const { return _fd; }
    // Gives the descriptor away; the caller closes it.
    int Release() { return std::exchange(_fd, -1); }
    // Keeps errno: a caller may still read the reason of an earlier failure.
    void Close()
    {
        if (_fd < 0)
            return;
        const int error = errno;
        close(std::exchange(_fd, -1));
        errno = error;
    }

private:
    int _fd = -1;
};

}  // namespace vx
