#include "LocalFileOpening.h"

#include "UniqueFd.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

constexpr int kWriting = O_WRONLY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t kAnyone = 0666;  // less the process's umask

// Most parent folders that are followed; a longer chain is broken.
constexpr int kMostFolders = 65536;

// Another program may replace the file between two calls.
constexpr int kAttempts = 4;

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

bool IsSame(const struct stat &first, const struct stat &other)
{
    return first.st_dev == other.st_dev && first.st_ino == other.st_ino;
}

bool IsOpenAs(int descriptor, const struct stat &file)
{
    struct stat open;
    return fstat(descriptor, &open) == 0 && IsSame(open, file);
}

// Where the system does not list the open descriptors, every possible one is tried.
bool IsOpenAsAny(const struct stat &file, int except)
{
    const int end = static_cast<int>(sysconf(_SC_OPEN_MAX));
    for (int descriptor = 0; descriptor < end; ++descriptor) {
        if (descriptor != except && IsOpenAs(descriptor, file))
            return true;
    }
    return false;
}

LocalTarget Refuse(int error)
{
    errno = error;
    return LocalTarget::kRefused;
}

LocalTarget LookAtLink(int folder, const char *name)
{
    struct stat end;
    if (fstatat(folder, name, &end, 0) == 0 && S_ISDIR(end.st_mode))
        return Refuse(EISDIR);
    return LocalTarget::kOtherName;
}

LocalTarget LookAtFile(int folder, const char *name, const struct stat &found, OpenQuestion isOpen)
{
    if (isOpen(found))
        return Refuse(EBUSY);
    if (found.st_nlink == 1)
        return LocalTarget::kFile;
    // A file that may not be written may not be replaced either.
    if (faccessat(folder, name, W_OK, AT_EACCESS) != 0)
        return LocalTarget::kRefused;
    return LocalTarget::kOtherName;
}

// No file, with the reason in errno.
vx::UniqueFd FailWith(int error)
{
    errno = error;
    return vx::UniqueFd();
}

// The file may have been replaced since it was looked at: only the open one is certain.
vx::UniqueFd EmptyLocalFile(const char *path)
{
    vx::UniqueFd file(open(path, kWriting | O_NONBLOCK));
    if (!file)
        return file;
    struct stat opened;
    if (fstat(file.Get(), &opened) != 0)
        return FailWith(errno);
    if (!S_ISREG(opened.st_mode) || opened.st_nlink != 1 || IsOpenInThisProcess(opened, file.Get()))
        return FailWith(EEXIST);
    if (ftruncate(file.Get(), 0) != 0)
        return FailWith(errno);
    fcntl(file.Get(), F_SETFL, fcntl(file.Get(), F_GETFL) & ~O_NONBLOCK);
    return file;
}

vx::UniqueFd OpenOnce(const char *path)
{
    struct stat found;
    switch (LookAtLocalTarget(AT_FDCWD, path, &found)) {
    case LocalTarget::kNothing:
        return vx::UniqueFd(CreateLocalFile(AT_FDCWD, path));
    case LocalTarget::kFile:
        return EmptyLocalFile(path);
    case LocalTarget::kOtherName:
        return vx::UniqueFd(unlink(path) == 0 ? CreateLocalFile(AT_FDCWD, path) : -1);
    case LocalTarget::kRefused:
        break;
    }
    return vx::UniqueFd();
}

bool WasExchanged(int error)
{
    return error == EEXIST || error == ENOENT || error == ELOOP;
}

}  // namespace

bool IsOpenInThisProcess(const struct stat &file, int except)
{
    const std::unique_ptr<DIR, CloseFolder> descriptors(opendir("/dev/fd"));
    if (descriptors == nullptr)
        return IsOpenAsAny(file, except);
    while (const dirent *entry = readdir(descriptors.get())) {
        if (entry->d_name[0] == '.')
            continue;
        const int descriptor = atoi(entry->d_name);
        if (descriptor != except && IsOpenAs(descriptor, file))
            return true;
    }
    return false;
}

bool IsOpenAnywhere(const struct stat &file)
{
    return IsOpenInThisProcess(file);
}

LocalTarget LookAtLocalTarget(int folder, const char *name, struct stat *found, OpenQuestion isOpen)
{
    if (fstatat(folder, name, found, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? LocalTarget::kNothing : LocalTarget::kRefused;
    if (S_ISLNK(found->st_mode))
        return LookAtLink(folder, name);
    if (S_ISDIR(found->st_mode))
        return Refuse(EISDIR);
    return S_ISREG(found->st_mode) ? LookAtFile(folder, name, *found, isOpen) : Refuse(ENXIO);
}

int CreateLocalFile(int folder, const char *name)
{
    return openat(folder, name, kWriting | O_CREAT | O_EXCL, kAnyone);
}

FILE *OpenLocalFile(const char *path)
{
    vx::UniqueFd file = OpenOnce(path);
    for (int i = 1; i < kAttempts && !file && WasExchanged(errno); ++i)
        file = OpenOnce(path);
    if (!file)
        return nullptr;
    FILE *stream = fdopen(file.Get(), "w");
    if (stream != nullptr)
        file.Release();
    return stream;
}

bool LiesInOpenFolder(const char *path, const char *destination)
{
    struct stat file;
    struct stat last;
    if (lstat(path, &file) != 0 || !S_ISREG(file.st_mode) || stat(destination, &last) != 0)
        return false;
    const std::string folder(path, std::string(path).rfind('/') + 1);
    return IsAnyFolderAbove(
        open(folder.c_str(), kFolder), last,
        [](int node, const struct stat &found) { return IsOpenInThisProcess(found, node); });
}

bool IsAnyFolderAbove(int folder, const struct stat &last, const FolderQuestion &question)
{
    struct stat below = {};
    bool isOne = false;
    vx::UniqueFd node(folder);
    for (int i = 0; node && i < kMostFolders; ++i) {
        struct stat found;
        const bool isEnd =
            fstat(node.Get(), &found) != 0 || IsSame(found, last) || IsSame(found, below);
        isOne = !isEnd && question(node.Get(), found);
        node = vx::UniqueFd(isEnd || isOne ? -1 : openat(node.Get(), "..", kFolder));
        below = found;
    }
    return isOne;
}
