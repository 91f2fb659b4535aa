// Loaded before a program's own libraries: gives its disks less room than they have. VX_FREE_BYTES
// is what is told to be free, VX_ROOM_BYTES is what can really be written to ordinary files, and
// VX_LARGEST_FILE how large one of them may be. With VX_NO_DATES no file takes times, with
// VX_NO_MARKS no extended attribute, with VX_SYNC_FAILS the disk cannot hold what was written, and
// with VX_NO_FREE_RENAME no name is taken only if it is free. VX_NOT_DURABLE is the end of the path
// of a file or folder that cannot be made durable.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr uint64_t kPlenty = uint64_t(1) << 50;

uint64_t BytesOf(const char *variable)
{
    const char *text = getenv(variable);
    return text == nullptr ? kPlenty : strtoull(text, nullptr, 10);
}

bool IsOrdinary(int file)
{
    struct stat found;
    return fstat(file, &found) == 0 && S_ISREG(found.st_mode);
}

// How many of the bytes there is room for.
size_t TakeRoom(size_t count)
{
    static std::atomic<uint64_t> room{BytesOf("VX_ROOM_BYTES")};
    uint64_t left = room;
    while (!room.compare_exchange_weak(left, left - std::min<uint64_t>(count, left)))
        continue;
    return static_cast<size_t>(std::min<uint64_t>(count, left));
}

bool PathEndsWith(int file, const std::string &end)
{
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = readlink(link.c_str(), path, sizeof(path));
    const std::string found(path, static_cast<size_t>(std::max<ssize_t>(length, 0)));
    return found.size() >= end.size() &&
           found.compare(found.size() - end.size(), end.size(), end) == 0;
}

int TellLess(int result, struct statvfs *disk)
{
    if (result == 0 && getenv("VX_FREE_BYTES") != nullptr)
        disk->f_bavail = BytesOf("VX_FREE_BYTES") / disk->f_frsize;
    return result;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int fstatvfs(int file, struct statvfs *disk)
{
    using Function = int (*)(int, struct statvfs *);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fstatvfs"));
    return TellLess(real(file, disk), disk);
}

extern "C" __attribute__((visibility("default"))) ssize_t write(int file, const void *bytes,
                                                                size_t count)
{
    using Function = ssize_t (*)(int, const void *, size_t);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "write"));
    if (!IsOrdinary(file) || count == 0)
        return real(file, bytes, count);
    const size_t fitting = TakeRoom(count);
    if (fitting > 0)
        return real(file, bytes, fitting);
    errno = ENOSPC;
    return -1;
}

extern "C" __attribute__((visibility("default"))) off_t lseek(int file, off_t position, int origin)
{
    using Function = off_t (*)(int, off_t, int);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "lseek"));
    const bool isLimited = getenv("VX_LARGEST_FILE") != nullptr && IsOrdinary(file);
    if (!isLimited || origin != SEEK_SET ||
        position <= static_cast<off_t>(BytesOf("VX_LARGEST_FILE")))
        return real(file, position, origin);
    errno = EINVAL;
    return -1;
}

extern "C" __attribute__((visibility("default"))) int futimens(int file, const timespec *times)
{
    using Function = int (*)(int, const timespec *);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "futimens"));
    if (getenv("VX_NO_DATES") == nullptr)
        return real(file, times);
    errno = EPERM;
    return -1;
}

extern "C" __attribute__((visibility("default"))) int syncfs(int file)
{
    using Function = int (*)(int);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "syncfs"));
    if (getenv("VX_SYNC_FAILS") == nullptr)
        return real(file);
    errno = EIO;
    return -1;
}

extern "C" __attribute__((visibility("default"))) int fsync(int file)
{
    using Function = int (*)(int);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fsync"));
    const char *end = getenv("VX_NOT_DURABLE");
    if (end == nullptr || !PathEndsWith(file, end))
        return real(file);
    errno = EIO;
    return -1;
}

extern "C" __attribute__((visibility("default"))) int
fsetxattr(int file, const char *name, const void *value, size_t size, int flags)
{
    using Function = int (*)(int, const char *, const void *, size_t, int);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fsetxattr"));
    if (getenv("VX_NO_MARKS") == nullptr)
        return real(file, name, value, size, flags);
    errno = ENOTSUP;
    return -1;
}

extern "C" __attribute__((visibility("default"))) int
renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    using Function = int (*)(int, const char *, int, const char *, unsigned);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "renameat2"));
    if (flags == 0 || getenv("VX_NO_FREE_RENAME") == nullptr)
        return real(fromFolder, from, toFolder, to, flags);
    errno = EINVAL;
    return -1;
}
