#include "FilePool.h"

#include "FileByteSource.h"

#include <algorithm>
#include <cerrno>
#include <sys/resource.h>
#include <sys/stat.h>
#include <utility>

namespace vx {
namespace {

// Distinguishes a file from another one that took its name.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    time_t lastWrite = 0;

    bool operator==(const Identity &other) const
    {
        return device == other.device && inode == other.inode && size == other.size &&
               lastWrite == other.lastWrite;
    }
};

Result<Identity> Identify(const std::string &path)
{
    struct stat found;
    if (stat(path.c_str(), &found) != 0)
        return SystemError(errno, "open " + path);
    return Identity{found.st_dev, found.st_ino, found.st_size, found.st_mtime};
}

size_t HalfOfTheDescriptors()
{
    rlimit limit = {};
    constexpr rlim_t kEnough = 1 << 16;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return static_cast<size_t>(std::min(limit.rlim_cur, kEnough) / 2);
}

}  // namespace

class FilePool::File final : public ByteSource {
public:
    File(std::shared_ptr<FilePool> pool, std::string path)
        : _pool(std::move(pool)), _path(std::move(path))
    {
    }
    ~File() override { _pool->Forget(this); }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    Error Begin()
    {
        const auto identity = Identify(_path);
        if (!identity)
            return identity.Failure();
        _identity = *identity;
        const auto handle = Reopen();
        if (!handle)
            return handle.Failure();
        _size = (*handle)->Size();
        return {};
    }

    uint64_t Size() const override { return _size; }

    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (Error error = CheckRange(_size, offset, count))
            return error;
        if (const Handle open = _pool->Find(this))
            return open->ReadAt(offset, buffer, count);
        const auto reopened = Reopen();
        return reopened ? (*reopened)->ReadAt(offset, buffer, count) : reopened.Failure();
    }

private:
    Result<Handle> Reopen() const
    {
        const auto now = Identify(_path);
        if (!now)
            return now.Failure();
        if (!(*now == _identity))
            return SystemError(ESTALE, _path + " was exchanged");
        auto opened = FileByteSource::Open(_path);
        if (!opened)
            return opened.Failure();
        Handle handle = std::move(*opened);
        _pool->Keep(this, handle);
        return handle;
    }

    const std::shared_ptr<FilePool> _pool;
    const std::string _path;
    Identity _identity;
    uint64_t _size = 0;
};

std::shared_ptr<FilePool> FilePool::Make()
{
    return std::shared_ptr<FilePool>(new FilePool);
}

FilePool::FilePool() : _mostOpen(std::max(kLeastOpen, HalfOfTheDescriptors())) {}

Result<std::shared_ptr<const ByteSource>> FilePool::Open(const std::string &path)
{
    auto file = std::make_shared<File>(shared_from_this(), path);
    if (Error error = file->Begin())
        return error;
    return Handle(std::move(file));
}

FilePool::Handle FilePool::Find(const File *owner)
{
    const MutexLock lock(_mutex);
    for (Place &place : _places) {
        if (place.owner == owner) {
            place.lastUse = ++_uses;
            return place.handle;
        }
    }
    return nullptr;
}

void FilePool::Keep(const File *owner, Handle handle)
{
    const MutexLock lock(_mutex);
    if (_places.size() < _mostOpen) {
        _places.push_back({owner, std::move(handle), ++_uses});
        return;
    }
    Place &oldest =
        *std::min_element(_places.begin(), _places.end(),
                          [](const Place &a, const Place &b) { return a.lastUse < b.lastUse; });
    oldest = {owner, std::move(handle), ++_uses};
}

void FilePool::Forget(const File *owner)
{
    const MutexLock lock(_mutex);
    _places.erase(std::remove_if(_places.begin(), _places.end(),
                                 [&](const Place &place) { return place.owner == owner; }),
                  _places.end());
}

}  // namespace vx
