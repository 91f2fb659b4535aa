// Loaded into a program before the C library: a disk image with sectors that cannot be read.
//
// VX_BAD_FILE: its path; VX_BAD_FROM, VX_BAD_TO: the bytes that give a read error.
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>

namespace {

bool IsBadFile(int descriptor)
{
    const char *bad = getenv("VX_BAD_FILE");
    if (bad == nullptr)
        return false;
    char path[4096];
    const ssize_t length =
        readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), path, sizeof(path));
    return length > 0 && std::string(path, static_cast<size_t>(length)) == bad;
}

off_t Number(const char *name)
{
    const char *text = getenv(name);
    return text == nullptr ? 0 : static_cast<off_t>(strtoll(text, nullptr, 10));
}

}  // namespace

extern "C" ssize_t pread64(int descriptor, void *buffer, size_t count, off_t offset)
{
    using Read = ssize_t (*)(int, void *, size_t, off_t);
    static const Read next = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "pread64"));
    const off_t end = offset + static_cast<off_t>(count);
    if (offset < Number("VX_BAD_TO") && end > Number("VX_BAD_FROM") && IsBadFile(descriptor)) {
        errno = EIO;
        return -1;
    }
    return next(descriptor, buffer, count, offset);
}

extern "C" ssize_t pread(int descriptor, void *buffer, size_t count, off_t offset)
{
    return pread64(descriptor, buffer, count, offset);
}
