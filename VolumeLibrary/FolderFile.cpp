#include "FolderFile.h"

#include "RetryInterrupted.h"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// No system refuses a single read of this size.
constexpr uint32_t kMaxReadBytes = 1 << 30;

}  // namespace

bool FolderFile::ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done)
{
    while (*done < count) {
        const size_t chunk = std::min(count - *done, kMaxReadBytes);
        const ssize_t got = RetryInterrupted(
            [&] { return pread(_file.Get(), buffer + *done, chunk, position + *done); });
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        *done += static_cast<uint32_t>(got);
    }
    return true;
}

std::optional<int64_t> FolderFile::Size() const
{
    struct stat found;
    if (fstat(_file.Get(), &found) != 0)
        return std::nullopt;
    return found.st_size;
}

}  // namespace vx
