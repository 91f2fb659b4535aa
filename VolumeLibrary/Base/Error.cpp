#include "Error.h"

#include <cerrno>
#include <cstring>

namespace vx {

Error SystemError(int number, const std::string &what)
{
    return {Status::kSystemError, what + ": " + std::strerror(number), number};
}

bool IsPermissionError(const Error &error)
{
    return error.status == Status::kSystemError &&
           (error.systemError == EACCES || error.systemError == EPERM);
}

}  // namespace vx
