// The functions of the C library that name a path or change a file: a disk that is gone cannot be
// opened or looked at, and a destination refuses what FaultRules says.
#include "FaultRules.h"
#include "NextFunction.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using vx::FaultRules;
using vx::Next;

namespace {

constexpr int kChanging = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;

std::string Absolute(int folder, const char *path)
{
    if (path[0] == '/')
        return path;
    char base[PATH_MAX];
    const std::string link =
        folder == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(folder);
    const ssize_t length = readlink(link.c_str(), base, sizeof base);
    if (length < 0)
        return path;
    return std::string(base, static_cast<size_t>(length)) + "/" + path;
}

// Whether it is refused, with errno set.
bool IsRefused(int folder, const char *path, bool changes)
{
    const std::string whole = Absolute(folder, path);
    const FaultRules &rules = FaultRules::Get();
    int error = rules.ErrorOfPath(whole);
    if (error == 0 && changes)
        error = rules.ErrorOfChange(whole);
    if (error == 0)
        return false;
    errno = error;
    return true;
}

int Open(int folder, const char *path, int flags, mode_t mode)
{
    if (IsRefused(folder, path, (flags & kChanging) != 0))
        return -1;
    return Next<int (*)(int, const char *, int, ...)>("openat")(folder, path, flags, mode);
}

FILE *OpenStream(const char *path, const char *mode, const char *function)
{
    if (IsRefused(AT_FDCWD, path, mode[0] != 'r' || mode[1] == '+'))
        return nullptr;
    return Next<FILE *(*)(const char *, const char *)>(function)(path, mode);
}

mode_t ModeOf(int flags, va_list list)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;
}

template <typename... Values>
int Change(const char *function, int folder, const char *path, Values... values)
{
    if (IsRefused(folder, path, true))
        return -1;
    return Next<int (*)(int, const char *, Values...)>(function)(folder, path, values...);
}

template <typename... Values>
int Look(const char *function, const char *path, Values... values)
{
    if (IsRefused(AT_FDCWD, path, false))
        return -1;
    return Next<int (*)(const char *, Values...)>(function)(path, values...);
}

}  // namespace

#define VX_OPEN(name, folder)                                                                      \
    va_list list;                                                                                  \
    va_start(list, flags);                                                                         \
    const mode_t mode = ModeOf(flags, list);                                                       \
    va_end(list);                                                                                  \
    return Open(folder, path, flags, mode)

extern "C" {

int open(const char *path, int flags, ...)
{
    VX_OPEN(open, AT_FDCWD);
}

int open64(const char *path, int flags, ...)
{
    VX_OPEN(open64, AT_FDCWD);
}

int openat(int folder, const char *path, int flags, ...)
{
    VX_OPEN(openat, folder);
}

int openat64(int folder, const char *path, int flags, ...)
{
    VX_OPEN(openat64, folder);
}

int __open_2(const char *path, int flags)
{
    return Open(AT_FDCWD, path, flags, 0);
}

int __open64_2(const char *path, int flags)
{
    return Open(AT_FDCWD, path, flags, 0);
}

int __openat_2(int folder, const char *path, int flags)
{
    return Open(folder, path, flags, 0);
}

int __openat64_2(int folder, const char *path, int flags)
{
    return Open(folder, path, flags, 0);
}

int creat(const char *path, mode_t mode)
{
    return Open(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

FILE *fopen(const char *path, const char *mode)
{
    return OpenStream(path, mode, "fopen");
}

FILE *fopen64(const char *path, const char *mode)
{
    return OpenStream(path, mode, "fopen64");
}

int stat(const char *path, struct stat *found)
{
    return Look("stat", path, found);
}

int stat64(const char *path, struct stat64 *found)
{
    return Look("stat64", path, found);
}

int lstat(const char *path, struct stat *found)
{
    return Look("lstat", path, found);
}

int lstat64(const char *path, struct stat64 *found)
{
    return Look("lstat64", path, found);
}

int access(const char *path, int mode)
{
    return Look("access", path, mode);
}

int mkdir(const char *path, mode_t mode)
{
    return Change("mkdirat", AT_FDCWD, path, mode);
}

int mkdirat(int folder, const char *path, mode_t mode)
{
    return Change("mkdirat", folder, path, mode);
}

int unlink(const char *path)
{
    return Change("unlinkat", AT_FDCWD, path, 0);
}

int unlinkat(int folder, const char *path, int flags)
{
    return Change("unlinkat", folder, path, flags);
}

int rmdir(const char *path)
{
    return Change("unlinkat", AT_FDCWD, path, AT_REMOVEDIR);
}

int rename(const char *from, const char *to)
{
    return Change("renameat", AT_FDCWD, from, AT_FDCWD, to);
}

int renameat(int fromFolder, const char *from, int toFolder, const char *to)
{
    return Change("renameat", fromFolder, from, toFolder, to);
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    return Change("renameat2", fromFolder, from, toFolder, to, flags);
}

int truncate(const char *path, off_t size)
{
    if (IsRefused(AT_FDCWD, path, true))
        return -1;
    return Next<int (*)(const char *, off_t)>("truncate")(path, size);
}
}
