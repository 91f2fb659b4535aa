// Loaded before a program's own libraries: gives its disks less room than they have. VX_FREE_BYTES
// is what is told to be free, VX_ROOM_BYTES is what can really be written to ordinary files.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace {

constexpr uint64_t kPlenty = uint64_t(1) << 50;

uint64_t BytesOf(const char *variable)
{
    const char *text = getenv(variable);
    return text == nullptr ? kPlenty : strtoull(text, nullptr, 10);
}

bool IsOrdinary(FILE *stream)
{
    struct stat found;
    return fstat(fileno(stream), &found) == 0 && S_ISREG(found.st_mode);
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

extern "C" __attribute__((visibility("default"))) size_t fwrite(const void *bytes, size_t size,
                                                                size_t count, FILE *stream)
{
    using Function = size_t (*)(const void *, size_t, size_t, FILE *);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fwrite"));
    static uint64_t room = BytesOf("VX_ROOM_BYTES");
    if (!IsOrdinary(stream) || size != 1)
        return real(bytes, size, count, stream);
    const size_t fitting = static_cast<size_t>(std::min<uint64_t>(count, room));
    const size_t written = real(bytes, size, fitting, stream);
    room -= written;
    if (fitting < count)
        errno = ENOSPC;
    return written;
}
