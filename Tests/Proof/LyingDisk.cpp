// Loaded before a program's own libraries: below the folder that VX_LIAR names, files are not what
// was written to them, and nobody says so. VX_LIE is "read", which changes a byte of what is read,
// "write", which loses a write, or "stall", which opens the FIFOs of the folder VX_STALL before a
// read; VX_LIAR_NAME is a part of the file's name.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>

namespace {

bool IsLie(const char *kind)
{
    const char *lie = getenv("VX_LIE");
    return lie != nullptr && strcmp(lie, kind) == 0;
}

bool IsOfLiar(int file)
{
    const char *folder = getenv("VX_LIAR");
    const char *name = getenv("VX_LIAR_NAME");
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = readlink(link.c_str(), path, sizeof(path));
    if (folder == nullptr || name == nullptr || length < 0)
        return false;
    const std::string found(path, static_cast<size_t>(length));
    return found.rfind(std::string(folder) + "/", 0) == 0 && found.find(name) != std::string::npos;
}

template <typename Function>
Function RealOf(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Opening a FIFO waits until its other end is opened.
void Stall(int file)
{
    if (!IsLie("stall") || !IsOfLiar(file))
        return;
    const std::string folder = getenv("VX_STALL");
    close(open((folder + "/stalled").c_str(), O_WRONLY));
    close(open((folder + "/release").c_str(), O_RDONLY));
}

ssize_t Changed(int file, void *bytes, ssize_t got)
{
    if (got > 0 && IsLie("read") && IsOfLiar(file))
        static_cast<char *>(bytes)[got / 2] ^= 1;
    return got;
}

}  // namespace

#define VX_EXPORTED extern "C" __attribute__((visibility("default")))

VX_EXPORTED ssize_t read(int file, void *bytes, size_t count)
{
    static const auto real = RealOf<ssize_t (*)(int, void *, size_t)>("read");
    return Changed(file, bytes, real(file, bytes, count));
}

VX_EXPORTED ssize_t pread(int file, void *bytes, size_t count, off_t offset)
{
    static const auto real = RealOf<ssize_t (*)(int, void *, size_t, off_t)>("pread");
    Stall(file);
    return Changed(file, bytes, real(file, bytes, count, offset));
}

VX_EXPORTED ssize_t pread64(int file, void *bytes, size_t count, off_t offset)
{
    return pread(file, bytes, count, offset);
}

// Zeros in the place of the bytes, as a disk has them that never wrote.
VX_EXPORTED ssize_t write(int file, const void *bytes, size_t count)
{
    static const auto real = RealOf<ssize_t (*)(int, const void *, size_t)>("write");
    if (!IsLie("write") || !IsOfLiar(file))
        return real(file, bytes, count);
    const std::string zeros(count, '\0');
    return real(file, zeros.data(), count);
}
