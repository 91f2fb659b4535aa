#include "UniqueFd.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace vx {

UniqueFd &UniqueFd::operator=(UniqueFd &&other) noexcept
{
    if (this != &other) {
        Close();
        _fd = other.Release();
    }
    return *this;
}

int UniqueFd::Release()
{
    return std::exchange(_fd, -1);
}

void UniqueFd::Close()
{
    if (_fd < 0)
        return;
    // The reason of an earlier failure is still to be read when an owner goes out of scope.
    const int error = errno;
    close(_fd);
    errno = error;
    _fd = -1;
}

}  // namespace vx
