#include "FailingFiles.h"

#include "Mutex.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

struct BadPart {
    dev_t device;
    ino_t number;
    uint64_t begin;
    uint64_t end;
};

std::atomic<bool> isActive{false};
std::atomic<int> failedReads{0};
// Never destroyed: files are read until the process has ended.
vx::Mutex &mutex = *new vx::Mutex;
std::vector<BadPart> &badParts VX_GUARDED_BY(mutex) = *new std::vector<BadPart>;

// How many of count bytes can be read at this place; -1 if the first cannot.
ssize_t Allowed(int file, off_t offset, size_t count)
{
    struct stat found;
    if (!isActive || offset < 0 || fstat(file, &found) != 0 || !S_ISREG(found.st_mode))
        return static_cast<ssize_t>(count);
    const auto begin = static_cast<uint64_t>(offset);
    uint64_t end = begin + count;
    const vx::MutexLock lock(mutex);
    for (const BadPart &bad : badParts) {
        if (bad.device != found.st_dev || bad.number != found.st_ino || bad.begin >= end ||
            begin >= bad.end)
            continue;
        if (bad.begin <= begin) {
            ++failedReads;
            errno = EIO;
            return -1;
        }
        end = bad.begin;
    }
    return static_cast<ssize_t>(end - begin);
}

template <typename Function>
Function Real(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

ssize_t ReadAt(int file, void *buffer, size_t count, off_t offset)
{
    static const auto real = Real<ssize_t (*)(int, void *, size_t, off_t)>("pread");
    const ssize_t allowed = Allowed(file, offset, count);
    return allowed < 0 ? -1 : real(file, buffer, static_cast<size_t>(allowed), offset);
}

}  // namespace

extern "C" ssize_t read(int file, void *buffer, size_t count)
{
    static const auto real = Real<ssize_t (*)(int, void *, size_t)>("read");
    const ssize_t allowed =
        isActive ? Allowed(file, lseek(file, 0, SEEK_CUR), count) : static_cast<ssize_t>(count);
    return allowed < 0 ? -1 : real(file, buffer, static_cast<size_t>(allowed));
}

extern "C" ssize_t pread(int file, void *buffer, size_t count, off_t offset)
{
    return ReadAt(file, buffer, count, offset);
}

extern "C" ssize_t pread64(int file, void *buffer, size_t count, off_t offset)
{
    return ReadAt(file, buffer, count, offset);
}

namespace vx {

FailingFiles::~FailingFiles()
{
    const vx::MutexLock lock(mutex);
    isActive = false;
    badParts.clear();
}

void FailingFiles::MakeBad(const std::string &path, uint64_t begin, uint64_t length)
{
    struct stat found = {};
    (void)stat(path.c_str(), &found);
    const MutexLock lock(mutex);
    badParts.push_back({found.st_dev, found.st_ino, begin, begin + length});
    isActive = true;
}

int FailingFiles::FailedReads() const
{
    return failedReads;
}

}  // namespace vx
