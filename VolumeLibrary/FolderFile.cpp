#include "FolderFile.h"

#include "RetryInterrupted.h"

#include <algorithm>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// No system refuses a single read of this size.
constexpr int64_t kMaxReadBytes = 1 << 30;
constexpr int64_t kMaxPosition = std::numeric_limits<int64_t>::max();

}  // namespace

bool FolderFile::Read(void *buffer, uint32_t count, uint32_t *done)
{
    auto *bytes = static_cast<char *>(buffer);
    const int64_t wanted = std::min<int64_t>(count, kMaxPosition - _position);
    *done = 0;
    while (*done < wanted) {
        const auto chunk = static_cast<size_t>(std::min(wanted - *done, kMaxReadBytes));
        const ssize_t got =
            RetryInterrupted([&] { return pread(_file.Get(), bytes + *done, chunk, _position); });
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        *done += static_cast<uint32_t>(got);
        _position += got;
    }
    return true;
}

bool FolderFile::Move(int64_t distance, uint32_t origin)
{
    int64_t start = 0;
    if (origin == static_cast<uint32_t>(Origin::kPosition))
        start = _position;
    else if (origin != static_cast<uint32_t>(Origin::kStart))
        return false;
    int64_t target = 0;
    if (__builtin_add_overflow(start, distance, &target) || target < 0)
        return false;
    _position = target;
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
