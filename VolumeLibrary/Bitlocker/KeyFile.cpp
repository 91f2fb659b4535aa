#include "KeyFile.h"

#include "RetryInterrupted.h"
#include "UniqueFd.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx::bitlocker {
namespace {

Error Failure(int number, const char *detail = "")
{
    return {Status::kSystemError, detail, number};
}

Error CheckKind(const struct stat &status)
{
    if (S_ISREG(status.st_mode))
        return {};
    if (S_ISDIR(status.st_mode))
        return Failure(EISDIR, "it is a folder");
    return Failure(ENOTSUP, "it is no ordinary file");
}

// How much was read: all of it, unless the file became shorter.
Result<size_t> ReadAll(int file, KeyMaterial &bytes)
{
    size_t done = 0;
    while (done < bytes.Size()) {
        const ssize_t got = RetryInterrupted(
            [&] { return ::read(file, bytes.Data() + done, bytes.Size() - done); });
        if (got < 0)
            return Failure(errno);
        if (got == 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

}  // namespace

Result<KeyMaterial> ReadKeyFile(const char *path, size_t largest)
{
    struct stat status;
    if (::stat(path, &status) != 0)
        return Failure(errno);
    if (Error error = CheckKind(status))
        return error;
    // What stands there may have been replaced by a FIFO meanwhile.
    const UniqueFd file(RetryInterrupted(
        [&] { return ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    if (!file || ::fstat(file.Get(), &status) != 0)
        return Failure(errno);
    if (Error error = CheckKind(status))
        return error;
    if (static_cast<uint64_t>(status.st_size) > largest)
        return Error{Status::kMalformedSecret, "it is too long for a file of keys"};
    KeyMaterial bytes(static_cast<size_t>(status.st_size));
    const Result<size_t> size = ReadAll(file.Get(), bytes);
    if (!size)
        return size.Failure();
    return *size == bytes.Size() ? std::move(bytes) : KeyMaterial(bytes.View().First(*size));
}

}  // namespace vx::bitlocker
